#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace auspool::platform {
namespace {

constexpr std::uint64_t kLargestOffset = std::numeric_limits<off_t>::max();

// Calls `transfer(done)` until all `size` bytes are through, it meets the end of the file, or fails.
template <typename Transfer>
std::int32_t repeat(std::size_t size, std::size_t &done, const Transfer &transfer) {
  for (done = 0; done < size;) {
    const ssize_t count = transfer(done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  return 0;
}

}  // namespace

File::~File() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

std::int32_t File::open(const char *path, Access access) {
  if (path == nullptr) return EINVAL;
  const int flags = (access == Access::change ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  descriptor_ = ::open(path, flags);
  struct stat status {};
  if (descriptor_ < 0 || fstat(descriptor_, &status) != 0) return errno;
  size_ = static_cast<std::uint64_t>(status.st_size);
  return 0;
}

std::int32_t File::read_directly(std::uint64_t offset, std::span<std::uint8_t> to, std::size_t &count) {
  return repeat(to.size(), count, [&](std::size_t done) {
    return ::pread(descriptor_, to.data() + done, to.size() - done, static_cast<off_t>(offset + done));
  });
}

std::int32_t File::read_some(std::uint64_t offset, std::span<std::uint8_t> to, std::size_t &count) {
  count = 0;
  if (offset >= size_ || to.empty()) return 0;
  to = to.first(static_cast<std::size_t>(std::min<std::uint64_t>(to.size(), size_ - offset)));
  if (to.size() > windows_[0].bytes.size()) return read_directly(offset, to, count);
  if (const std::int32_t error = look_at(offset, to.size())) return error;
  const Window &window = windows_[recent_];
  const auto start = static_cast<std::size_t>(offset - window.offset);
  count = std::min(to.size(), window.count - std::min(window.count, start));
  std::copy_n(window.bytes.begin() + static_cast<std::ptrdiff_t>(start), count, to.begin());
  return 0;
}

// Makes the recent window one that holds these bytes, as far as the file has them.
std::int32_t File::look_at(std::uint64_t offset, std::size_t length) {
  for (std::size_t i = 0; i < windows_.size(); ++i) {
    const Window &it = windows_[i];
    if (offset < it.offset || offset + length > it.offset + it.count) continue;
    recent_ = i;
    return 0;
  }
  recent_ ^= 1;
  Window &window = windows_[recent_];
  const std::uint64_t most = std::min<std::uint64_t>(window.bytes.size(), size_);
  window.offset = std::min(offset, size_ - most);  // near the end of the file it looks back rather than beyond
  const std::int32_t error =
      read_directly(window.offset, std::span(window.bytes).first(static_cast<std::size_t>(most)), window.count);
  if (error != 0) window.count = 0;
  return error;
}

void File::forget() {
  for (Window &window : windows_) window.count = 0;
}

std::int32_t File::read(std::uint64_t offset, std::span<std::uint8_t> to) {
  std::size_t count = 0;
  const std::int32_t error = read_some(offset, to, count);
  return error == 0 && count < to.size() ? EIO : error;
}

std::int32_t File::read(std::uint64_t offset, std::uint64_t length, std::vector<std::uint8_t> &to) {
  to.clear();
  if (offset > size_ || length > size_ - offset) return EIO;
  to.resize(static_cast<std::size_t>(length));
  return read(offset, to);
}

std::int32_t File::write(std::uint64_t offset, std::span<const std::uint8_t> from) {
  forget();
  if (offset > kLargestOffset - from.size()) return EFBIG;
  std::size_t done = 0;
  const std::int32_t error = repeat(from.size(), done, [&](std::size_t start) {
    return ::pwrite(descriptor_, from.data() + start, from.size() - start, static_cast<off_t>(offset + start));
  });
  if (done != 0) size_ = std::max(size_, offset + done);
  return error == 0 && done < from.size() ? EIO : error;
}

std::int32_t File::resize(std::uint64_t size) {
  forget();
  if (size > kLargestOffset) return EFBIG;
  int result = 0;
  do {
    result = ::ftruncate(descriptor_, static_cast<off_t>(size));
  } while (result != 0 && errno == EINTR);
  if (result != 0) return errno;
  size_ = size;
  return 0;
}

}  // namespace auspool::platform
