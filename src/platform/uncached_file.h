// A temporary file for audio that passes through once and must not push everything else out of the system's page cache.
// It has no name, and is gone when it is destroyed. One thread at a time.
//
// Tests put classes of their own in its place, which fail, write short or run full.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace auspool::platform {

class UncachedFile {
public:
  // What offsets, byte counts and addresses of memory are multiples of.
  enum class Pieces {
    any,   // of nothing: through the page cache, whose pages are dropped soon after
    pages  // of 4096 bytes: directly between memory and disk, at a third of the processor time
  };
  static constexpr std::size_t kPage = 4096;

  virtual ~UncachedFile() = default;

  // Both return the bytes moved, or -1 with errno. Fewer than asked: the file ends there, or the disk is full. Both may
  // wait for the disk.
  virtual std::int64_t read(std::uint64_t offset, void *to, std::size_t bytes) noexcept = 0;
  virtual std::int64_t write(std::uint64_t offset, const void *from, std::size_t bytes) noexcept = 0;

  // Gives the disk space of whole pages back; they read as zeros, and the file's size stays. False where the file
  // system cannot: then they are as they were. Costs a millisecond or more of waiting, whatever the number of bytes.
  virtual bool punch_hole(std::uint64_t offset, std::uint64_t bytes) noexcept = 0;
};

// Null if no file can be made. Where the file system has no direct access (tmpfs among them), `pages` works as `any`.
std::unique_ptr<UncachedFile> create_uncached_file(UncachedFile::Pieces pieces) noexcept;

}  // namespace auspool::platform
