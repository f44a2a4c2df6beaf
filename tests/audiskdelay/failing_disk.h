// A temporary file in memory, which fails as a disk does.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

#include "platform/uncached_file.h"

namespace auspool::testing {

// What the disk does. Shared by a test and the file, which belongs to what is tested.
struct Disk {
  std::uint64_t room = UINT64_MAX;  // bytes that the file can grow to
  int error_when_full = ENOSPC;
  std::size_t most_at_once = SIZE_MAX;  // bytes that a call moves
  int write_error = 0, read_error = 0;  // of every call; 0: none
  std::size_t writes = 0, reads = 0;    // calls
  std::vector<std::uint8_t> bytes;
};

class FileOnDisk : public platform::UncachedFile {
public:
  explicit FileOnDisk(Disk &disk) : disk_(disk) {}

  std::int64_t read(std::uint64_t offset, void *to, std::size_t count) noexcept override {
    ++disk_.reads;
    if (disk_.read_error) return fail(disk_.read_error);
    const std::uint64_t there = disk_.bytes.size() - std::min<std::uint64_t>(offset, disk_.bytes.size());
    const std::size_t moved = std::min({count, static_cast<std::size_t>(there), disk_.most_at_once});
    std::memcpy(to, disk_.bytes.data() + offset, moved);
    return static_cast<std::int64_t>(moved);
  }

  std::int64_t write(std::uint64_t offset, const void *from, std::size_t count) noexcept override {
    ++disk_.writes;
    if (disk_.write_error) return fail(disk_.write_error);
    const std::uint64_t room = disk_.room - std::min(offset, disk_.room);
    if (room == 0) return fail(disk_.error_when_full);
    const std::size_t moved = std::min({count, static_cast<std::size_t>(room), disk_.most_at_once});
    if (offset + moved > disk_.bytes.size()) disk_.bytes.resize(offset + moved);
    std::memcpy(disk_.bytes.data() + offset, from, moved);
    return static_cast<std::int64_t>(moved);
  }

  bool punch_hole(std::uint64_t, std::uint64_t) noexcept override { return true; }

private:
  static std::int64_t fail(int error) {
    errno = error;
    return -1;
  }
  Disk &disk_;
};

}  // namespace auspool::testing
