// The controller that keeps the output aligned with the timestamps: it watches the smoothed offset and nudges the
// resampling rate, one step a call of aupacketplayer_get_frames. Its gains are those of a step, not of a second.
#pragma once

#include <cstdint>

#include "auspool/aupacketplayer.h"

namespace auspool {

// Beyond this offset either way, in seconds, it is not for the controller to catch up.
inline constexpr double kMostOffset = 0.05;

// Takes a step and returns the rate to resample to, for an output that says it runs at `rate`.
float next_output_rate(aupacketplayer &ctx, float rate);

// Moves the offset towards `delta`, as far as `remaining` frames of audio go: 2 seconds of audio go half the way.
// One that is not finite moves nothing.
void smooth_offset(aupacketplayer &ctx, double delta, std::uint32_t remaining);

}  // namespace auspool
