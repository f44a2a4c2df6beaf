#pragma once

#include "quality/converters.h"

namespace quality {

// Seconds in which raesampler_single_shot converts a minute of stereo, at its best of some runs; below 0 where it
// fails.
double measure_whole_stream(const Rates &rates, int quality, int threads);

}  // namespace quality
