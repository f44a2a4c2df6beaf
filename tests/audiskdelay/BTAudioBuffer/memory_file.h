// A file in memory that fails when it is told to.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <vector>

#include "platform/uncached_file.h"

namespace auspool::testing {

class MemoryFile : public platform::UncachedFile {
public:
  // Given the offset and size of a write, how many bytes of it succeed; less than 0 fails, with errno.
  using Fault = std::function<std::int64_t(std::uint64_t offset, std::size_t bytes)>;
  struct Span {
    std::uint64_t offset, bytes;
    bool operator==(const Span &) const = default;
  };

  Fault fault;
  std::vector<Span> writes, holes;
  bool keep_history = true;

  std::int64_t read(std::uint64_t offset, void *to, std::size_t bytes) noexcept override {
    const std::size_t count = offset < bytes_.size() ? std::min(bytes, bytes_.size() - offset) : 0;
    if (count > 0) std::memcpy(to, bytes_.data() + offset, count);
    return static_cast<std::int64_t>(count);
  }
  std::int64_t write(std::uint64_t offset, const void *from, std::size_t bytes) noexcept override {
    const std::int64_t count = fault ? fault(offset, bytes) : static_cast<std::int64_t>(bytes);
    if (keep_history) writes.push_back({offset, bytes});
    if (count <= 0) return count;
    if (bytes_.size() < offset + static_cast<std::size_t>(count))
      bytes_.resize(offset + static_cast<std::size_t>(count));
    std::memcpy(bytes_.data() + offset, from, static_cast<std::size_t>(count));
    return count;
  }
  bool punch_hole(std::uint64_t offset, std::uint64_t bytes) noexcept override {
    if (keep_history) holes.push_back({offset, bytes});
    if (offset < bytes_.size())
      std::memset(bytes_.data() + offset, 0xEE, std::min<std::size_t>(bytes, bytes_.size() - offset));
    return true;
  }

  std::size_t size() const { return bytes_.size(); }

private:
  std::vector<std::uint8_t> bytes_;
};

// Every write fails with this errno value, or with 0 is cut short.
inline MemoryFile::Fault always_failing(int error) {
  return [error](std::uint64_t, std::size_t bytes) -> std::int64_t {
    if (error == 0) return static_cast<std::int64_t>(bytes / 2);
    errno = error;
    return -1;
  };
}

}  // namespace auspool::testing
