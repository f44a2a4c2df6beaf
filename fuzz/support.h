// What fuzz targets share: a way to say what must hold, and a file that exists in memory alone and has a path all the
// same, for functions that open files.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

namespace auspool::fuzz {

inline void require(bool holds) {
  if (!holds) std::abort();
}

class MemoryFile {
public:
  MemoryFile() : descriptor_(memfd_create("fuzz", 0)), path_("/proc/self/fd/" + std::to_string(descriptor_)) {
    require(descriptor_ >= 0);
  }
  ~MemoryFile() { ::close(descriptor_); }
  MemoryFile(const MemoryFile &) = delete;
  MemoryFile &operator=(const MemoryFile &) = delete;

  const char *path() const { return path_.c_str(); }

  void fill(std::span<const std::uint8_t> bytes) {
    require(ftruncate(descriptor_, 0) == 0 && pwrite(descriptor_, bytes.data(), bytes.size(), 0) >= 0);
  }
  std::size_t size() const { return static_cast<std::size_t>(lseek(descriptor_, 0, SEEK_END)); }
  std::vector<std::uint8_t> bytes() const {
    std::vector<std::uint8_t> all(size());
    require(pread(descriptor_, all.data(), all.size(), 0) >= 0);
    return all;
  }

private:
  int descriptor_;
  std::string path_;
};

}  // namespace auspool::fuzz
