// What a file without a name, which only this process has open, takes of disk and page cache.
#pragma once

#include <cstdint>

namespace auspool::testing {

struct NamelessFile {
  std::uint64_t bytes = 0;         // its size
  std::uint64_t disk_bytes = 0;    // without its holes
  std::uint64_t cached_bytes = 0;  // in the system's page cache
  bool in_memory = false;          // there is no disk beneath
};

// The first such file that is not empty; one of 0 bytes if there is none.
NamelessFile look_at_nameless_file();

}  // namespace auspool::testing
