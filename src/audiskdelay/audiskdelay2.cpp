#include "auspool/audiskdelay2.h"

#include <algorithm>
#include <new>

#include "audiskdelay/audio_side.h"
#include "audiskdelay/audiskdelay2_record.h"
#include "audiskdelay/seconds.h"
#include "audiskdelay/worker.h"

namespace auspool::audiskdelay {
namespace {

bool make_storage(audiskdelay2 &delay) {
  const std::int32_t bytes = ring_bytes(delay.rate, delay.bytes_per_frame);
  delay.store.reset(BTAudioBufferCreate(delay.max_frames));
  delay.write_ring.reset(rbuffer_create(bytes, 1));
  delay.read_ring.reset(rbuffer_create(bytes, 1));
  delay.scratch.reset(new (std::nothrow) std::uint8_t[audiskdelay2::kScratchBytes]);
  return delay.store && delay.write_ring && delay.read_ring && delay.scratch;
}

double frames_per_second(const audiskdelay2 &delay) {
  return static_cast<double>(delay.rate);
}

std::uint64_t waiting_frames(const audiskdelay2 &delay) {
  return static_cast<std::uint64_t>(rbuffer_used_space(delay.read_ring.get()) / delay.bytes_per_frame);
}

struct Extent {
  std::uint64_t start = 0, length = 0;
};
Extent extent_of(const audiskdelay2 &delay) {
  Extent extent;
  BTAudioBufferGetInfo(delay.store.get(), &extent.start, &extent.length, nullptr);
  return extent;
}

}  // namespace

std::unique_ptr<audiskdelay2, DestroyWith<audiskdelay2_destroy>> make_delay2(std::int32_t seconds,
                                                                             const audiskdelay2_callbacks *callbacks,
                                                                             float rate) {
  if (seconds < 1 || ring_bytes(rate, 4) == 0) return nullptr;
  std::unique_ptr<audiskdelay2, DestroyWith<audiskdelay2_destroy>> delay(new (std::nothrow) audiskdelay2);
  if (!delay) return nullptr;
  delay->rate = rate;
  delay->silence_threshold = static_cast<std::uint64_t>(rate);
  delay->max_frames = static_cast<std::uint64_t>(static_cast<double>(rate) * seconds);
  if (callbacks) {
    delay->callback_context = callbacks->context;
    delay->size_callback = callbacks->size_callback;
  }
  if (!make_storage(*delay)) return nullptr;
  return delay;
}

}  // namespace auspool::audiskdelay

using namespace auspool::audiskdelay;

audiskdelay2 *audiskdelay2_create(int32_t seconds, const audiskdelay2_callbacks *callbacks, float rate) {
  auto delay = make_delay2(seconds, callbacks, rate);
  const bool runs = delay && delay->notifier.start(power_callback, delay.get()) && start_worker(*delay);
  return runs ? delay.release() : nullptr;
}

void audiskdelay2_destroy(audiskdelay2 *delay) {
  if (delay) stop_worker(*delay);
  delete delay;
}

int32_t audiskdelay2_write(audiskdelay2 *delay, const float *interleaved, int32_t frames) {
  return write_frames(*delay->write_ring, delay->bytes_per_frame, interleaved, frames);
}

int32_t audiskdelay2_read(audiskdelay2 *delay, float *interleaved, int32_t frames) {
  if (delay->zero_delay_writeonly) return discard_frames(*delay->read_ring, interleaved, frames);
  return read_frames(*delay->read_ring, delay->bytes_per_frame, interleaved, frames);
}

// With more in the read ring than the target, `current` wraps: it differs from `delay_frames`, and the ring is flushed.
float audiskdelay2_set_delay(audiskdelay2 *delay, float seconds) {
  const std::lock_guard lock(delay->lock);
  const std::uint64_t target = units_in(seconds, frames_per_second(*delay), extent_of(*delay).length);
  std::uint64_t current = target - waiting_frames(*delay);
  if (current != delay->delay_frames) {
    delay->delay_frames = target;
    rbuffer_flush(delay->read_ring.get());
    current = delay->delay_frames;
  }
  return seconds_of(current + waiting_frames(*delay), frames_per_second(*delay));
}

float audiskdelay2_max_delay(audiskdelay2 *delay) {
  const std::lock_guard lock(delay->lock);
  return seconds_of(extent_of(*delay).length, frames_per_second(*delay));
}

float audiskdelay2_info(audiskdelay2 *delay, float *max, float *real) {
  const std::lock_guard lock(delay->lock);
  const Extent extent = extent_of(*delay);
  const std::uint64_t frames = std::min(delay->delay_frames, extent.length) + waiting_frames(*delay);
  if (max) *max = seconds_of(delay->max_frames, frames_per_second(*delay));
  if (real) {
    const std::uint64_t gaps =
        BTAudioBufferGetPhysicalOffset(delay->store.get(), extent.start + extent.length - frames);
    *real = seconds_of(frames + gaps, frames_per_second(*delay));
  }
  return seconds_of(frames, frames_per_second(*delay));
}

void audiskdelay2_set_zero_delay_writeonly_mode(audiskdelay2 *delay, uint32_t writeonly) {
  delay->zero_delay_writeonly = writeonly;
}
