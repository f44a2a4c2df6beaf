// A temporary file as a ring of bytes: it grows until it has its size, or until the disk gives no more, and from then
// on the newest overwrites the oldest. The read position lies up to the whole ring behind the write position.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/uncached_file.h"

namespace auspool::audiskdelay {

class RingFile {
public:
  // False if no file can be had. The size is rounded down to whole frames.
  bool create(std::uint64_t ring_size, std::uint32_t frame_size) noexcept;

  // What became of a block.
  struct Appended {
    std::uint64_t dropped = 0;  // bytes at its end that could not be written
    bool ended = false;         // the file has reached its natural end before its size: the disk, a limit or a quota
    bool overtaken = false;     // it took audio that was still to be read; the read position was pushed along
  };
  // Writes whole frames at the write position.
  Appended append(const void *data, std::uint64_t bytes) noexcept;

  // Reads whole frames at the read position and moves it on. Fewer than asked: the ring's end, or all there is. 0 also
  // when the file cannot be read; the position then stays.
  std::uint64_t read(void *to, std::uint64_t bytes) noexcept;

  // Puts the read position so many bytes behind the write position, whole frames of what the file holds; returns how
  // many.
  std::uint64_t go_back(std::uint64_t bytes) noexcept;

  std::uint64_t ring_size() const { return ring_size_; }
  std::uint64_t file_size() const { return file_size_; }  // what it holds
  std::uint64_t write_offset() const { return write_offset_; }
  std::uint64_t read_offset() const;
  std::uint64_t behind() const { return behind_; }  // bytes from the read position to the write position
  std::uint64_t total() const { return total_; }    // bytes ever written
  bool full() const { return file_size_ == ring_size_; }

  // For tests: another file in place of the one created.
  void replace_file(std::unique_ptr<platform::UncachedFile> file) { file_ = std::move(file); }

private:
  std::uint64_t whole_frames(std::uint64_t bytes) const { return bytes - bytes % frame_size_; }
  std::uint64_t write_run(const std::uint8_t *data, std::uint64_t bytes, int &error) noexcept;
  bool end_growth(int error) noexcept;
  bool advance(std::uint64_t bytes) noexcept;

  std::unique_ptr<platform::UncachedFile> file_;
  std::uint64_t ring_size_ = 0, file_size_ = 0;
  std::uint64_t write_offset_ = 0, behind_ = 0;
  std::uint32_t frame_size_ = 1;
  std::uint64_t total_ = 0;
};

}  // namespace auspool::audiskdelay
