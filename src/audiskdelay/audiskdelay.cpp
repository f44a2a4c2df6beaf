#include "auspool/audiskdelay.h"

#include <new>

#include "audiskdelay/audio_side.h"
#include "audiskdelay/audiskdelay_record.h"
#include "audiskdelay/seconds.h"
#include "audiskdelay/worker.h"

namespace auspool::audiskdelay {
namespace {

bool make_storage(::audiskdelay &delay, std::int32_t seconds) {
  const std::int32_t bytes = ring_bytes(delay.rate, delay.frame_size);
  if (seconds < 1 || bytes == 0) return false;
  const auto whole_rate = static_cast<std::uint64_t>(delay.rate);
  const auto frame_size = static_cast<std::uint32_t>(delay.frame_size);
  delay.write_ring.reset(rbuffer_create(bytes, 1));
  delay.read_ring.reset(rbuffer_create(bytes, 1));
  delay.scratch.reset(new (std::nothrow) std::uint8_t[::audiskdelay::kScratchBytes]);
  return delay.write_ring && delay.read_ring && delay.scratch &&
         delay.file.create(static_cast<std::uint64_t>(seconds) * frame_size * whole_rate, frame_size);
}

}  // namespace

std::unique_ptr<::audiskdelay, DestroyWith<audiskdelay_destroy>> make_delay(std::int32_t seconds, std::int32_t compact,
                                                                            const audiskdelay_callbacks *callbacks,
                                                                            float rate) {
  std::unique_ptr<::audiskdelay, DestroyWith<audiskdelay_destroy>> delay(new (std::nothrow)::audiskdelay);
  if (!delay) return nullptr;
  delay->rate = rate;
  delay->frame_size = compact ? 4 : 8;
  if (callbacks) delay->callbacks = *callbacks;
  if (!make_storage(*delay, seconds)) return nullptr;
  return delay;
}

}  // namespace auspool::audiskdelay

using namespace auspool::audiskdelay;

audiskdelay *audiskdelay_create(int32_t seconds, int32_t compact, const audiskdelay_callbacks *callbacks, float rate) {
  auto delay = make_delay(seconds, compact, callbacks, rate);
  return delay && start_worker(*delay) ? delay.release() : nullptr;
}

void audiskdelay_destroy(audiskdelay *delay) {
  if (delay) stop_worker(*delay);
  delete delay;
}

int32_t audiskdelay_write(audiskdelay *delay, const float *interleaved, int32_t frames) {
  return write_frames(*delay->write_ring, delay->frame_size, interleaved, frames);
}

float audiskdelay_set_backtrack(audiskdelay *delay, float seconds) {
  const std::lock_guard lock(delay->lock);
  const auto waiting = static_cast<std::uint64_t>(rbuffer_used_space(delay->write_ring.get()));
  const std::uint64_t wanted = units_in(seconds, delay->bytes_per_second(), delay->file.file_size());
  const std::uint64_t distance = delay->file.go_back(waiting + wanted);
  flush_read_ring(*delay);
  return seconds_of(distance, delay->bytes_per_second());
}

float audiskdelay_max_backtrack(audiskdelay *delay) {
  const std::lock_guard lock(delay->lock);
  return seconds_of(delay->file.file_size(), delay->bytes_per_second());
}

float audiskdelay_info(audiskdelay *delay, float *max, float *real) {
  const std::lock_guard lock(delay->lock);
  const auto waiting = static_cast<std::uint64_t>(rbuffer_used_space(delay->read_ring.get()));
  const float seconds = seconds_of(delay->file.behind() + waiting, delay->bytes_per_second());
  if (max) *max = seconds_of(delay->file.ring_size(), delay->bytes_per_second());
  if (real) *real = seconds;
  return seconds;
}

void audiskdelay_set_zero_delay_writeonly_mode(audiskdelay *delay, uint32_t writeonly) {
  delay->zero_delay_writeonly = writeonly;
}
