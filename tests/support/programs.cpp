#include "support/programs.h"

#include <sys/wait.h>

#include <cstdlib>

#include "support/temp_dir.h"

namespace auspool::testing {

ProgramResult run(const std::string &command) {
  const TempDir dir;
  const std::string out = dir.file("out"), err = dir.file("err");
  const int status = std::system(("{ " + command + "\n} >" + quoted(out) + " 2>" + quoted(err)).c_str());
  ProgramResult result;
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.output = read_file(out);
  result.errors = read_file(err);
  return result;
}

bool have_program(const std::string &name) {
  return std::system(("command -v " + quoted(name) + " >/dev/null 2>&1").c_str()) == 0;
}

std::string quoted(const std::string &text) {
  std::string out = "'";
  for (const char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

}  // namespace auspool::testing
