#include "platform/uncached_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "platform/temporary_file.h"

namespace auspool::platform {
namespace {

off_t to_off(std::uint64_t bytes) {
  return static_cast<off_t>(bytes);
}

template <typename Transfer>
std::int64_t uninterrupted(const Transfer &transfer) {
  for (;;) {
    const ssize_t count = transfer();
    if (count >= 0 || errno != EINTR) return count;
  }
}

class TemporaryFile : public UncachedFile {
public:
  TemporaryFile(int descriptor, Pieces pieces) : descriptor_(descriptor), direct_(pieces == Pieces::pages) {
    if (direct_) direct_ = ::fcntl(descriptor_, F_SETFL, O_DIRECT) == 0;
    ::posix_fadvise(descriptor_, 0, 0, POSIX_FADV_RANDOM);  // no read-ahead
  }
  ~TemporaryFile() override { ::close(descriptor_); }
  TemporaryFile(const TemporaryFile &) = delete;
  TemporaryFile &operator=(const TemporaryFile &) = delete;

  std::int64_t read(std::uint64_t offset, void *to, std::size_t bytes) noexcept override {
    const std::int64_t count = attempt([&] { return ::pread(descriptor_, to, bytes, to_off(offset)); });
    if (!direct_ && count > 0) drop(offset / kPage * kPage, offset + static_cast<std::uint64_t>(count));
    return count;
  }

  std::int64_t write(std::uint64_t offset, const void *from, std::size_t bytes) noexcept override {
    const std::int64_t count = attempt([&] { return ::pwrite(descriptor_, from, bytes, to_off(offset)); });
    if (!direct_ && count > 0) write_out(offset, static_cast<std::uint64_t>(count));
    return count;
  }

  bool punch_hole(std::uint64_t offset, std::uint64_t bytes) noexcept override {
    const int mode = FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE;
    return ::fallocate(descriptor_, mode, to_off(offset), to_off(bytes)) == 0;
  }

private:
  // Some file systems take the flag and refuse the transfer.
  template <typename Transfer>
  std::int64_t attempt(const Transfer &transfer) {
    const std::int64_t count = uninterrupted(transfer);
    if (count >= 0 || errno != EINVAL || !direct_) return count;
    direct_ = false;
    if (::fcntl(descriptor_, F_SETFL, 0) != 0) return -1;
    return uninterrupted(transfer);
  }

  void drop(std::uint64_t begin, std::uint64_t end) {
    ::posix_fadvise(descriptor_, to_off(begin), to_off(end - begin), POSIX_FADV_DONTNEED);
  }

  // Only written pages can be dropped. So that nobody waits for the disk, the system is told to write each stretch as
  // it is complete, and what is waited for and dropped is the stretch before.
  void write_out(std::uint64_t offset, std::uint64_t bytes) {
    if (offset != end_) begin_ = offset / kPage * kPage;  // a new place: the old one's last pages stay until it returns
    end_ = offset + bytes;
    if (end_ - begin_ < kStretch) return;
    ::sync_file_range(descriptor_, to_off(begin_), to_off(end_ - begin_), SYNC_FILE_RANGE_WRITE);
    if (written_end_ > written_begin_) {
      ::sync_file_range(descriptor_, to_off(written_begin_), to_off(written_end_ - written_begin_),
                        SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER);
      drop(written_begin_, written_end_);
    }
    written_begin_ = begin_;
    written_end_ = end_;
    begin_ = end_ / kPage * kPage;
  }

  static constexpr std::uint64_t kStretch = 1 << 20;

  const int descriptor_;
  bool direct_;
  std::uint64_t begin_ = 0, end_ = 0;                  // the stretch that grows
  std::uint64_t written_begin_ = 0, written_end_ = 0;  // the one that the system was told to write
};

}  // namespace

std::unique_ptr<UncachedFile> create_uncached_file(UncachedFile::Pieces pieces) noexcept {
  const int descriptor = open_temporary_file();
  if (descriptor < 0) return nullptr;
  std::unique_ptr<UncachedFile> file(new (std::nothrow) TemporaryFile(descriptor, pieces));
  if (!file) ::close(descriptor);
  return file;
}

}  // namespace auspool::platform
