// Running other programs, ours and the independent readers that judge our files.
#pragma once

#include <string>

namespace auspool::testing {

struct ProgramResult {
  int status = -1;     // exit status; 128 plus the signal's number where one ended it
  std::string output;  // standard output
  std::string errors;  // standard error
};

// Runs a shell command line and waits for it.
ProgramResult run(const std::string &command);

// Whether a program of this name can be run. Tests that need it skip, aloud, where it cannot.
bool have_program(const std::string &name);

// One argument of a shell command line, quoted.
std::string quoted(const std::string &text);

}  // namespace auspool::testing
