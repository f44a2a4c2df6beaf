// A folder of a test's own, removed with all it holds at the end of the scope.
#pragma once

#include <filesystem>
#include <string>

namespace auspool::testing {

class TempDir {
public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir &) = delete;
  TempDir &operator=(const TempDir &) = delete;

  const std::filesystem::path &path() const { return path_; }
  std::string file(const std::string &name) const { return (path_ / name).string(); }

private:
  std::filesystem::path path_;
};

std::string read_file(const std::string &path);
void write_file(const std::string &path, const std::string &bytes);

}  // namespace auspool::testing
