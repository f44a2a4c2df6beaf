#include "audiskdelay/ring_file.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace auspool::audiskdelay {

bool RingFile::create(std::uint64_t ring_size, std::uint32_t frame_size) noexcept {
  frame_size_ = frame_size;
  ring_size_ = whole_frames(ring_size);
  file_ = platform::create_uncached_file(platform::UncachedFile::Pieces::any);
  return file_ != nullptr;
}

std::uint64_t RingFile::read_offset() const {
  return write_offset_ >= behind_ ? write_offset_ - behind_ : write_offset_ + ring_size_ - behind_;
}

RingFile::Appended RingFile::append(const void *data, std::uint64_t bytes) noexcept {
  Appended result;
  for (const auto *from = static_cast<const std::uint8_t *>(data); bytes > 0;) {
    int error = 0;
    const std::uint64_t run = std::min(bytes, ring_size_ - write_offset_);
    const std::uint64_t written = write_run(from, run, error);
    result.overtaken |= advance(written);
    from += written;
    bytes -= written;
    if (written == run) continue;
    const bool ended = end_growth(error);
    result.ended |= ended;
    if (!ended) break;
  }
  result.dropped = bytes;
  return result;
}

// Writes whole frames at the write position, and returns how many bytes these are.
std::uint64_t RingFile::write_run(const std::uint8_t *data, std::uint64_t bytes, int &error) noexcept {
  std::uint64_t done = 0;
  while (done < bytes) {
    const std::int64_t count = file_->write(write_offset_ + done, data + done, static_cast<std::size_t>(bytes - done));
    if (count <= 0) {
      error = count < 0 ? errno : ENOSPC;
      break;
    }
    done += static_cast<std::uint64_t>(count);
  }
  return whole_frames(done);
}

// A file that cannot grow any further is a smaller ring. One without a frame is none: it tries again with the next
// block.
bool RingFile::end_growth(int error) noexcept {
  const bool natural = error == EFBIG || error == ENOSPC || error == EDQUOT;
  if (!natural || full() || file_size_ == 0) return false;
  ring_size_ = file_size_;
  write_offset_ = 0;
  return true;
}

// The write position moves on, within the ring. Returns whether it overtook the read position.
bool RingFile::advance(std::uint64_t bytes) noexcept {
  const bool growing = !full();
  write_offset_ += bytes;
  total_ += bytes;
  if (growing) file_size_ = write_offset_;
  if (write_offset_ == ring_size_) write_offset_ = 0;
  const bool overtaken = behind_ + bytes > file_size_;
  behind_ = std::min(behind_ + bytes, file_size_);
  return overtaken;
}

std::uint64_t RingFile::read(void *to, std::uint64_t bytes) noexcept {
  const std::uint64_t offset = read_offset();
  const std::uint64_t run = std::min({bytes, behind_, ring_size_ - offset});
  const std::int64_t count = run == 0 ? 0 : file_->read(offset, to, static_cast<std::size_t>(run));
  const std::uint64_t done = whole_frames(static_cast<std::uint64_t>(std::max<std::int64_t>(count, 0)));
  behind_ -= done;
  return done;
}

std::uint64_t RingFile::go_back(std::uint64_t bytes) noexcept {
  return behind_ = whole_frames(std::min(bytes, file_size_));
}

}  // namespace auspool::audiskdelay
