// The interpolation: the third-order Lagrange polynomial through four frames, between the second and the third.
//
// Nearly all output frames lie in the steady run, where all four frames are source frames. At the edges, frames come
// from the history or are held at the source's ends, and are done one by one.
#pragma once

#include <cstdint>

#include "base/four_point.h"
#include "buffers/sampler_position.h"

namespace auspool {

// Output frames `begin` to `end`.
struct SteadyRun {
  std::uint32_t begin, end;
};

SteadyRun find_steady_run(const SamplerPosition &position, std::uint32_t frames_in, std::uint32_t frames_out);

// The output frames of one channel outside the steady run. Reads the four frames of `history`, which come before the
// source, and no source frame beyond `frames_in`, whatever the positions are.
void interpolate_edges(const SamplerPosition &position, SteadyRun steady, const float *history,
                       Strided<const float> source, std::uint32_t frames_in, Strided<float> destination,
                       std::uint32_t frames_out);

// The places from output frame `first` on, as many as there are up to `end` and FourPointPlaces::kMost.
void find_places(const SamplerPosition &position, std::uint32_t first, std::uint32_t end, FourPointPlaces &places);

// The polynomial, for one sample or for four at a time. `t` is the distance from b, in frames.
struct Lagrange {
  template <typename V>
  V operator()(V a, V b, V c, V d, V t) const {
    constexpr float kSixth = 1.0f / 6.0f;
    const V t2 = t * t;
    return b + t * kSixth * (6.0f * c - 3.0f * b - 2.0f * a - d) + t2 * 0.5f * (a - 2.0f * b + c) +
           t2 * t * kSixth * (d + 3.0f * (b - c) - a);
  }
};

}  // namespace auspool
