// How far a recording has come: sizes and times, for any thread.
#include <algorithm>

#include "base/truncate.h"
#include "platform/file_size.h"
#include "recorder/recorder.h"

namespace auspool {
namespace {

double seconds(std::int64_t frames, float rate) {
  if (truncate_to_int32(rate) == 0) return 0.0;
  return static_cast<double>(frames) / static_cast<double>(rate);
}

}  // namespace

// Of the current file, without what stdio still holds; 0 without a file. Under fd_lock.
std::int64_t Recorder::size_on_disk() const {
  return fd >= 0 ? std::max<std::int64_t>(platform::size_of_open_file(fd), 0) : 0;
}

std::int64_t Recorder::file_size() const {
  const std::lock_guard lock(fd_lock);
  return file_open ? size_on_disk() : 0;
}

std::int64_t Recorder::total_size() const {
  const std::lock_guard lock(fd_lock);
  return total_bytes + (file_open ? size_on_disk() : 0);
}

double Recorder::file_time() const {
  return seconds(file_frames, rate_out);
}
double Recorder::total_time() const {
  return seconds(total_frames, rate_out);
}

}  // namespace auspool
