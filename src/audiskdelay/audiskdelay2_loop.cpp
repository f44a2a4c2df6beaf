// What the second generation's worker does.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "audiskdelay/audiskdelay2_record.h"
#include "audiskdelay/seconds.h"

namespace auspool::audiskdelay {
namespace {

// What comes in while the computer is about to sleep is thrown away.
std::uint32_t take_input(audiskdelay2 &delay) {
  std::int32_t bytes = 0;
  do {
    bytes = rbuffer_read(delay.write_ring.get(), delay.scratch.get(), audiskdelay2::kScratchBytes);
  } while (bytes > 0 && delay.sleep_time != 0);
  return static_cast<std::uint32_t>(bytes);
}

bool is_silent(const std::uint8_t *frames, std::uint32_t bytes) {
  std::uint32_t any = 0;
  for (std::uint32_t at = 0; at < bytes; at += sizeof any) {
    std::uint32_t frame;
    std::memcpy(&frame, frames + at, sizeof frame);
    any |= frame;
  }
  return any == 0;
}

// The first second of silence is stored as audio: a pause between words is not worth a record.
void store_input(audiskdelay2 &delay, std::uint32_t bytes) {
  const std::uint32_t frames = bytes / static_cast<std::uint32_t>(delay.bytes_per_frame);
  delay.silent_frames = is_silent(delay.scratch.get(), bytes) ? delay.silent_frames + frames : 0;
  const bool as_record = delay.silent_frames >= delay.silence_threshold;
  const void *const data = as_record ? nullptr : delay.scratch.get();
  if (BTAudioBufferWrite(delay.store.get(), data, bytes, frames, true)) delay.delay_frames += frames;
}

void report_length(audiskdelay2 &delay, std::uint64_t length) {
  const float seconds = seconds_of(length, static_cast<double>(delay.rate));
  if (std::abs(seconds - delay.last_reported) < 1.0f) return;
  delay.last_reported = seconds;
  if (delay.size_callback) delay.size_callback(delay.callback_context, seconds);
}

// One read of the store, which ends where its record does: a pass must not hold the lock for long.
bool fill_read_ring(audiskdelay2 &delay, std::uint64_t end) {
  const std::int32_t room = std::min(rbuffer_free_space(delay.read_ring.get()), audiskdelay2::kScratchBytes);
  if (room <= delay.bytes_per_frame) return false;
  const std::uint64_t most = std::min(static_cast<std::uint64_t>(room / delay.bytes_per_frame), delay.delay_frames);
  auto frames = static_cast<std::uint32_t>(most);
  std::uint32_t bytes = frames * static_cast<std::uint32_t>(delay.bytes_per_frame);
  const std::uint64_t position = end - delay.delay_frames;
  void *data = delay.scratch.get();
  if (!BTAudioBufferRead(delay.store.get(), &position, &data, &bytes, &frames, nullptr)) return false;
  rbuffer_write(delay.read_ring.get(), delay.scratch.get(), static_cast<std::int32_t>(bytes));
  delay.delay_frames -= frames;
  return true;
}

// Whether audio moved.
bool move_to_reader(audiskdelay2 &delay) {
  std::uint64_t start = 0, length = 0;
  BTAudioBufferGetInfo(delay.store.get(), &start, &length, nullptr);
  if (delay.delay_frames > length) {  // the store lost older audio than the delay needed
    delay.delay_frames = length;
    rbuffer_flush(delay.read_ring.get());
  }
  report_length(delay, length);
  if (delay.zero_delay_writeonly) delay.delay_frames = 0;
  return delay.delay_frames != 0 && fill_read_ring(delay, start + length);
}

}  // namespace

bool pass(audiskdelay2 &delay) {
  const std::lock_guard lock(delay.lock);
  const std::uint32_t bytes = take_input(delay);
  if (bytes > 0 && !delay.quit) store_input(delay, bytes);
  if (delay.quit) return bytes > 0;
  return move_to_reader(delay) || bytes > 0;
}

}  // namespace auspool::audiskdelay
