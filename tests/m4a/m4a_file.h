// A file that a test writes through the m4a family.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "auspool/m4a.h"
#include "support/atoms.h"
#include "support/temp_dir.h"

namespace auspool::testing {

class M4aFile {
public:
  M4aFile() : stream(std::fopen(path.c_str(), "w+")) {}
  ~M4aFile() {
    if (stream) std::fclose(stream);
  }
  M4aFile(const M4aFile &) = delete;
  M4aFile &operator=(const M4aFile &) = delete;

  std::string bytes() const {
    std::fflush(stream);
    return read_file(path);
  }
  Atom atom(const std::string &atom_path) const { return atom_at(bytes(), atom_path); }

private:
  TempDir folder_;

public:
  const std::string path = folder_.file("file.m4a");
  FILE *stream;
};

// The n-th of a file's packets: no two of the first thousands are alike.
inline std::string packet(int n, std::size_t size = 10) {
  std::string bytes = std::to_string(n);
  bytes.resize(size, static_cast<char>('a' + n % 26));
  return bytes;
}

}  // namespace auspool::testing
