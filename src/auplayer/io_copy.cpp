#include "auplayer/io_copy.h"

#include <cstring>

namespace auspool {
namespace {

bool is_unity(float gain) {
  return gain > 0.999f && gain < 1.001f;
}

// Calls write(frame number, left, right). Plain loops, which the compiler unrolls.
template <typename Write>
void for_each_frame(const float *interleaved, std::uint32_t frames, const Write &write) {
  for (std::size_t i = 0; i < frames; ++i) write(i, interleaved[2 * i], interleaved[2 * i + 1]);
}

void mix(const float *interleaved, std::uint32_t frames, const ChannelDescriptor &channel, float factor) {
  for_each_frame(interleaved, frames, [&](std::size_t i, float left, float right) {
    channel.data[i * channel.stride] = (left + right) * factor;
  });
}

}  // namespace

void copy_audio_to_io_buffer(const float *interleaved, std::uint32_t frames, const ChannelDescriptor (&channels)[2],
                             float gain) {
  const ChannelDescriptor left = channels[0], right = channels[1];
  const bool unity = is_unity(gain);
  if (left.data == right.data) return mix(interleaved, frames, left, unity ? 0.5f : 0.5f * gain);
  if (unity && left.stride == 2 && right.stride == 2 && right.data == left.data + 1) {
    std::memcpy(left.data, interleaved, frames * 2 * sizeof(float));
    return;
  }
  const float factor = unity ? 1.0f : gain;
  for_each_frame(interleaved, frames, [&](std::size_t i, float l, float r) {
    left.data[i * left.stride] = l * factor;
    right.data[i * right.stride] = r * factor;
  });
}

}  // namespace auspool
