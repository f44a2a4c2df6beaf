// What the older generation's worker does.
#include <algorithm>

#include "audiskdelay/audiskdelay_record.h"
#include "audiskdelay/patience.h"
#include "audiskdelay/seconds.h"

namespace auspool::audiskdelay {
namespace {

// Tells the host of growth, not more often than once a second of it.
void size_callback_func(::audiskdelay &delay, std::uint64_t bytes) {
  const float seconds = seconds_of(bytes, delay.bytes_per_second());
  if (seconds - delay.last_reported <= 1.0f) return;
  delay.last_reported = seconds;
  if (delay.callbacks.size_callback) delay.callbacks.size_callback(delay.callbacks.context, seconds);
}

void full_callback_func(::audiskdelay &delay, std::uint64_t bytes) {
  const float seconds = seconds_of(bytes, delay.bytes_per_second());
  if (delay.callbacks.full_callback) delay.callbacks.full_callback(delay.callbacks.context, seconds);
}

void store(::audiskdelay &delay, std::uint32_t bytes) {
  const std::uint64_t before = delay.file.file_size();
  const RingFile::Appended appended = delay.file.append(delay.scratch.get(), bytes);
  if (delay.file.file_size() != before) size_callback_func(delay, delay.file.file_size());
  if (appended.ended) full_callback_func(delay, delay.file.ring_size());
  if (appended.overtaken) delay.flush_pending = true;
  if (appended.dropped > 0)
    delay.oob_values.close_gap(frame_stored_next(delay),
                               static_cast<std::int64_t>(appended.dropped) / delay.frame_size);
}

bool fill_read_ring(::audiskdelay &delay) {
  const auto room = static_cast<std::uint32_t>(rbuffer_free_space(delay.read_ring.get()));
  const std::uint32_t frame_size = static_cast<std::uint32_t>(delay.frame_size);
  const std::uint32_t most = std::min(room, ::audiskdelay::kScratchBytes) / frame_size * frame_size;
  const std::uint64_t bytes = delay.file.read(delay.scratch.get(), most);
  if (bytes == 0) return false;
  const auto place = lock_patiently(delay.place_lock);
  rbuffer_write(delay.read_ring.get(), delay.scratch.get(), static_cast<std::int32_t>(bytes));
  delay.read_ring_end += bytes;
  return true;
}

}  // namespace

std::int64_t frame_stored_next(::audiskdelay &delay) {
  return static_cast<std::int64_t>(delay.file.total()) / delay.frame_size;
}

void flush_read_ring(::audiskdelay &delay) {
  const auto place = lock_patiently(delay.place_lock);
  rbuffer_flush(delay.read_ring.get());
  delay.read_ring_end = delay.file.total() - delay.file.behind();
  delay.flush_pending = false;
}

bool pass(::audiskdelay &delay) {
  const std::lock_guard lock(delay.lock);
  const std::int32_t bytes = rbuffer_read(delay.write_ring.get(), delay.scratch.get(),
                                          static_cast<std::int32_t>(::audiskdelay::kScratchBytes));
  if (bytes > 0) store(delay, static_cast<std::uint32_t>(bytes));
  if (delay.quit) return true;
  const bool writeonly = delay.zero_delay_writeonly;  // read once: the two belong together
  if (writeonly) delay.file.go_back(0);
  if (writeonly || delay.flush_pending) flush_read_ring(delay);
  return fill_read_ring(delay) || bytes > 0;
}

}  // namespace auspool::audiskdelay
