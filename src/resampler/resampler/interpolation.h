// The interpolation of `resampler`: where the output frames lie, and the polynomial through the four frames around
// each.
#pragma once

#include <cstdint>

#include "base/four_point.h"

namespace auspool {

// Output frame i lies at start + i * ratio input frames; input frames below 0 are history.
struct ResamplerPosition {
  double start;
  double ratio;

  double at(double i) const { return start + i * ratio; }
};

// The input frames around an output frame: the last of the four, and the distance from it, which is negative where the
// output frame lies before input frame 0.
struct ResamplerPlace {
  double frame;
  float distance;
};

// `used` is the count of input frames. Without any, the place is that of the frame to come.
ResamplerPlace resampler_place(const ResamplerPosition &position, double i, std::uint32_t used);

// The run of output frames whose four frames are all input frames.
struct ResamplerRun {
  std::uint32_t begin, end;
};
ResamplerRun find_run(const ResamplerPosition &position, std::uint32_t used, std::uint32_t frames_out);

// The places of output frames from `first` on, as many as there are up to `end` and FourPointPlaces::kMost.
void find_places(const ResamplerPosition &position, std::uint32_t first, std::uint32_t end, FourPointPlaces &places);

// One output frame of one channel at the edges of the run. Without input the newest frame of the history is repeated.
float interpolate_at_edge(const ResamplerPlace &place, const float *history, Strided<const float> input,
                          std::uint32_t used);

// Through a, b, c and d, `t` frames behind b. For one sample or for four at a time.
struct ResamplerPolynomial {
  template <typename V>
  V operator()(V a, V b, V c, V d, V t) const {
    constexpr float kSixth = 0.16666667f;
    const V bc = b - c;
    return (bc * 3.0f + d - a) * (t * t * t * kSixth) + (a - b - bc) * (t * t * 0.5f) +
           ((c - bc) * 3.0f - 2.0f * a - d) * (t * kSixth) + b;
  }
};

}  // namespace auspool
