// The record of `ausampler`. The channels' records lie directly behind it, in the same allocation.
#pragma once

#include <cstdint>

#include "auspool/ausampler.h"
#include "base/biquad.h"

namespace auspool {

struct SamplerChannel {
  float history[4] = {};  // the last four input frames, oldest first
  BiquadState filter;
};
static_assert(sizeof(SamplerChannel) == 8 * sizeof(float));

}  // namespace auspool

struct ausampler {
  std::uint32_t channels;
  auspool::SamplerChannel *channel_state;
  double fraction = 1.0;
  float cutoff = 0.0f;  // what the coefficients were computed for; 0 for none
  auspool::BiquadCoefficients coefficients;
};
