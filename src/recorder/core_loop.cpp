// The worker's loop over one file: block by block, until a split is due or the end is asked for.
#include "recorder/recorder.h"

namespace auspool {
namespace {

constexpr double kLongestFile = 86400.0;          // seconds
constexpr std::int64_t kSizeMargin = 51200;       // bytes for the block in hand and what completes the file
constexpr std::int64_t kLargestFile = INT32_MAX;  // readers count in signed 32-bit numbers

// How fast a file may grow, well above what any format writes.
constexpr std::int64_t kMostBytesAFrame = 64, kMostBytesAtOnce = 1 << 20;

}  // namespace

bool Recorder::core_loop(std::FILE *file) {
  if (stop_requested) return false;
  do {
    if (new_file_countdown < 0) {
      new_file_countdown = 0;
      return true;
    }
    const std::int32_t frames = flush_buffer(file, false);
    count_frames(frames);
    const bool counted_down = countdown_ended(frames);
    if (counted_down || limit_passed()) {
      new_file_countdown = 0;
      if (!stop_requested) return true;
    }
    if (frames == 0 && !stop_requested) wait_for_work();
  } while (!stop_requested);
  return false;
}

void Recorder::count_frames(std::int32_t frames) {
  file_frames = file_frames + frames;
  total_frames = total_frames + frames;
}

// Takes what was written from the countdown. The audio thread may set a new one meanwhile, which then counts whole.
bool Recorder::countdown_ended(std::int32_t frames_written) {
  std::int32_t left = new_file_countdown;
  do {
    if (left == 0) return false;
    if (left <= frames_written) return true;
  } while (!new_file_countdown.replace(left, left - frames_written));
  return false;
}

bool Recorder::limit_passed() {
  const double seconds = static_cast<double>(file_frames) / static_cast<double>(rate_out);
  if (seconds + 1.0 > kLongestFile) return true;
  const auto [limit, limit_is_time] = static_cast<ext_vars_t::Limit>(ext_vars->limit);
  if (limit != 0 && limit_is_time && seconds > static_cast<double>(limit)) return true;
  // A file without audio is not split by its size: large tags would make one empty file after the other.
  if (file_frames == 0) return false;
  return size_is_beyond((limit != 0 && !limit_is_time ? limit : kLargestFile) - kSizeMargin);
}

// Asking for the size costs as much as converting a block: the disk is asked only when the file may have grown so far.
bool Recorder::size_is_beyond(std::int64_t bytes) {
  const std::int64_t growth = (file_frames - frames_at_last_look) * kMostBytesAFrame + kMostBytesAtOnce;
  if (size_at_last_look >= 0 && size_at_last_look + growth <= bytes) return false;
  size_at_last_look = file_size();
  frames_at_last_look = file_frames;
  return size_at_last_look > bytes;
}

// Clears `recording` first: what the audio thread brings from here on is not part of the recording.
void Recorder::drain(std::FILE *file) {
  recording.store(false, std::memory_order_relaxed);
  while (const std::int32_t frames = flush_buffer(file, false)) count_frames(frames);
}

}  // namespace auspool
