// An open file, read and written at stated offsets. Results are 0 or an errno value.
//
// Reads of a few bytes are served from two windows of the file that are kept in memory, so that a walk over small
// chunks costs a system call now and then, not one a field, and looking at both ends of a file costs two. Larger reads
// go straight to where they belong.
#pragma once

#include <array>
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
  struct Window {
    std::uint64_t offset = 0;
    std::size_t count = 0;  // how many of the bytes are the file's
    std::array<std::uint8_t, 4096> bytes;
  };
  std::int32_t read_directly(std::uint64_t offset, std::span<std::uint8_t> to, std::size_t &count);
  std::int32_t look_at(std::uint64_t offset, std::size_t length);
  void forget();

  int descriptor_ = -1;
  std::uint64_t size_ = 0;
  std::array<Window, 2> windows_;
  std::size_t recent_ = 0;  // which of them was used last
};

}  // namespace auspool::platform
