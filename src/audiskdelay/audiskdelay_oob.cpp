// Reading and values out of band: what depends on the reader's place in the stream.
#include <algorithm>
#include <mutex>

#include "audiskdelay/audio_side.h"
#include "audiskdelay/audiskdelay_record.h"
#include "audiskdelay/patience.h"
#include "audiskdelay/seconds.h"

namespace auspool::audiskdelay {
namespace {

// Under `place_lock`.
std::int64_t place_of(const ::audiskdelay &delay) {
  const auto end = static_cast<std::int64_t>(delay.read_ring_end);
  return (end - rbuffer_used_space(delay.read_ring.get())) / delay.frame_size;
}

// Real-time thread. What is changing at this moment is told with one of the next blocks.
void tell_of_a_new_value(::audiskdelay &delay) {
  std::int64_t place = 0;
  {
    const std::unique_lock lock(delay.place_lock, std::try_to_lock);
    if (!lock) return;
    place = place_of(delay);
  }
  OobFound found;
  if (!delay.oob_values.try_find(place, found) || found.current.position == delay.told_position) return;
  delay.told_position = found.current.position;
  delay.callbacks.oob_callback(delay.callbacks.context, found.current.value);
}

struct Neighbourhood {
  std::int64_t place;
  OobFound found;
};
Neighbourhood look_around(::audiskdelay &delay) {
  const std::int64_t place = frame_read_next(delay);
  return {place, delay.oob_values.find(place)};
}

void *give(const OobEntry &entry, std::int64_t frames, float *seconds, const ::audiskdelay &delay) {
  const bool there = entry.position >= 0;
  if (seconds)
    *seconds = there ? seconds_of(static_cast<std::uint64_t>(frames), static_cast<double>(delay.rate)) : 0.0f;
  return entry.value;
}

}  // namespace

std::int64_t frame_read_next(::audiskdelay &delay) {
  const auto lock = lock_patiently(delay.place_lock);
  return place_of(delay);
}

}  // namespace auspool::audiskdelay

using namespace auspool::audiskdelay;

int32_t audiskdelay_read(audiskdelay *delay, float *interleaved, int32_t frames) {
  if (delay->zero_delay_writeonly) return discard_frames(*delay->read_ring, interleaved, frames);
  if (delay->callbacks.oob_callback && frames > 0 && rbuffer_used_space(delay->read_ring.get()) > 0)
    tell_of_a_new_value(*delay);
  return read_frames(*delay->read_ring, delay->frame_size, interleaved, frames);
}

int32_t audiskdelay_add_oob_value(audiskdelay *delay, void *value, audiskdelay_free_function free_function) {
  const std::lock_guard lock(delay->lock);
  const std::int64_t waiting = rbuffer_used_space(delay->write_ring.get()) / delay->frame_size;
  const std::int64_t held = static_cast<std::int64_t>(delay->file.file_size()) / delay->frame_size;
  const std::int64_t written = frame_stored_next(*delay);
  const std::int64_t oldest = std::min(written - held, frame_read_next(*delay));
  return delay->oob_values.add(written + waiting, value, free_function, oldest) ? 0 : -1;
}

void *audiskdelay_get_oob_value(audiskdelay *delay) {
  return look_around(*delay).found.current.value;
}

void *audiskdelay_prev_oob_value(audiskdelay *delay, float *seconds) {
  const Neighbourhood around = look_around(*delay);
  return give(around.found.previous, around.place - around.found.previous.position, seconds, *delay);
}

void *audiskdelay_next_oob_value(audiskdelay *delay, float *seconds) {
  const Neighbourhood around = look_around(*delay);
  return give(around.found.next, around.found.next.position - around.place, seconds, *delay);
}
