// An open file, read and written at stated offsets. Results are 0 or an errno value.
//
// Reads of a few bytes are served from a window of the file that is kept in memory, so that a walk over small chunks
// costs a system call now and then, not one a field. Reads larger than the window go straight to where they belong.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace auspool::platform {

class File {
public:
  enum class Access { read, change };

  File() = default;
  ~File();
  File(const File &) = delete;
  File &operator=(const File &) = delete;

  // Opens an existing file. Never waits for the other end of a pipe.
  std::int32_t open(const char *path, Access access);

  std::uint64_t size() const { return size_; }

  // Fills all of `to`; EIO when the file ends before.
  std::int32_t read(std::uint64_t offset, std::span<std::uint8_t> to);
  // Reads what there is of `to.size()` bytes, and says how many.
  std::int32_t read_some(std::uint64_t offset, std::span<std::uint8_t> to, std::size_t &count);
  // Makes `to` the `length` bytes at `offset`; EIO, with nothing allocated, when the file ends before.
  std::int32_t read(std::uint64_t offset, std::uint64_t length, std::vector<std::uint8_t> &to);

  std::int32_t write(std::uint64_t offset, std::span<const std::uint8_t> from);
  // Cuts the file, or grows it with zeros.
  std::int32_t resize(std::uint64_t size);

private:
  std::int32_t read_directly(std::uint64_t offset, std::span<std::uint8_t> to, std::size_t &count);

  static constexpr std::size_t window_bytes = 4096;
  int descriptor_ = -1;
  std::uint64_t size_ = 0;
  std::vector<std::uint8_t> window_;  // what was read, at most window_bytes
  std::uint64_t window_offset_ = 0;
};

}  // namespace auspool::platform
