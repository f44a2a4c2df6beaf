// A disk that fills up.
#pragma once

#include <filesystem>
#include <string>

#include "support/other_programs.h"

namespace auspool::testing {

// A disk of so many bytes of its own, for as long as the object lives. Mounting needs privileges that not every system
// gives its tests.
class TinyDisk {
public:
  TinyDisk(const std::string &where, const std::string &size) : where_(where) {
    std::filesystem::create_directory(where);
    mounted_ = run("mount -t tmpfs -o size=" + size + " tmpfs " + quoted(where)).status == 0;
  }
  ~TinyDisk() {
    if (mounted_) run("umount " + quoted(where_));
  }
  TinyDisk(const TinyDisk &) = delete;
  TinyDisk &operator=(const TinyDisk &) = delete;

  bool mounted() const { return mounted_; }

private:
  const std::string where_;
  bool mounted_ = false;
};

}  // namespace auspool::testing
