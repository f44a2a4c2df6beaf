// The record of `resampler`.
#pragma once

#include <cstdint>

#include "auspool/resampler.h"
#include "base/biquad.h"

namespace auspool {

inline constexpr int kResamplerSections = 8;

}  // namespace auspool

struct resampler {
  double position = 0.0;     // of the next output frame among the input frames to come; in (-1, 0] between calls
  float history[2][3] = {};  // the last input frames, as filtered, oldest first: left, then right
  double source_rate = 44100.0;
  float filter_cutoff = 0.0f;  // what the coefficients were computed for, as a fraction of the rate; 0 for none
  auspool::BiquadCoefficients coefficients;
  float filter_input[auspool::kResamplerSections][4] = {};   // left x[n-2], x[n-1], right x[n-2], x[n-1]
  float filter_output[auspool::kResamplerSections][4] = {};  // left y[n-1], y[n-2], right y[n-1], y[n-2]
  std::uint32_t options = 0;
};
