// The IO thread's pass: from the ring or the host's callback into the device's buffers. Nothing here waits, and nothing
// allocates but a generation's resampler when a rate has changed.
#include <algorithm>

#include "auplayer/io_copy.h"
#include "auplayer/player.h"
#include "base/denormal_guard.h"
#include "platform/clock.h"

namespace auspool {

using platform::TimeStamp;

namespace {

bool is_valid(const TimeStamp *stamp) {
  return stamp && (stamp->mFlags & TimeStamp::kHostTimeValid) != 0;
}

float nanoseconds_of(std::uint64_t ticks) {
  const platform::ClockRatio ratio = platform::clock_ratio();
  return static_cast<float>(static_cast<double>(ticks) * ratio.numer / ratio.denom);
}

// Seconds from now to the moment at which the pass will be heard; 0 where the device does not know.
float latency_between(const TimeStamp *now, const TimeStamp *output) {
  if (!is_valid(now) || !is_valid(output)) return 0.0f;
  const std::uint64_t from = now->host_time, to = output->host_time;
  const float nanoseconds = to > from ? nanoseconds_of(to - from) : -nanoseconds_of(from - to);
  return static_cast<float>(static_cast<double>(nanoseconds) * 1e-9);
}

}  // namespace

platform::DeviceStatus Player::device_io_proc(platform::ObjectId, const TimeStamp *now, const platform::BufferList *,
                                              const TimeStamp *, platform::BufferList *output,
                                              const TimeStamp *output_time, void *self) {
  if (!self) return 0;
  const DenormalGuard no_denormals;
  static_cast<Player *>(self)->player_io_proc(output, latency_between(now, output_time));
  return 0;
}

// The first measure counts whole, every other half: one without stamps counts as 0.
void Player::smooth_latency(float measure) {
  latency = latency == 0.0f ? measure : (latency + measure) * 0.5f;
}

void Player::player_io_proc(platform::BufferList *output, float latency_measure) {
  smooth_latency(latency_measure);
  ChannelDescriptor channels[2] = {};
  const std::uint32_t frames =
      check_buffer_info_cache(out_left_channel, out_right_channel, output, channels, buffer_info_cache);
  if (frames != 0) pass(channels, frames);
}

// Makes at most so many frames, fewer where their input would have no room on the stack, and returns how many.
std::int32_t Player::make_part(float *interleaved, std::int32_t frames) {
  frames = std::min(frames, kMostFrames);
  if (has_audio_callback()) {
    call_audio_callback(interleaved, frames);
    return frames;
  }
  std::int32_t needed = frames_in(frames);
  for (; needed > kMostFrames && frames > 1; needed = frames_in(frames)) frames /= 2;
  if (needed > kMostFrames) return 0;  // one frame of a device that is slower by so much
  render(interleaved, frames, needed);
  return frames;
}

void Player::pass(const ChannelDescriptor (&channels)[2], std::uint32_t frames) {
  if (!has_audio_callback() && begin_pass(static_cast<std::int32_t>(frames)) <= 0) return;
  ChannelDescriptor rest[2] = {channels[0], channels[1]};
  while (frames > 0) {
    float interleaved[2 * kMostFrames];
    const auto made = static_cast<std::uint32_t>(make_part(interleaved, static_cast<std::int32_t>(frames)));
    if (made == 0) return;
    copy_audio_to_io_buffer(interleaved, made, rest, gain);
    for (ChannelDescriptor &channel : rest) channel.data += std::size_t{made} * channel.stride;
    frames -= made;
  }
}

}  // namespace auspool
