// The last step of a player's pass: interleaved stereo into the device's channels.
#pragma once

#include <cstdint>

#include "auplayer/buffer_info.h"

namespace auspool {

// Multiplies by `gain`, unless that lies between 0.999 and 1.001. Channels that are one and the same get both signals,
// mixed at half. Safe on the real-time thread.
void copy_audio_to_io_buffer(const float *interleaved, std::uint32_t frames, const ChannelDescriptor (&channels)[2],
                             float gain);

}  // namespace auspool
