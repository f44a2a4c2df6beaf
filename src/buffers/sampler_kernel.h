// The interpolation: the third-order Lagrange polynomial through four frames, between the second and the third.
//
// Nearly all output frames lie in the steady run, where all four frames are source frames. They go in runs of places,
// which are found once and serve all channels. At the edges, frames come from the history or are held at the source's
// ends, and are done one by one.
#pragma once

#include <cstddef>
#include <cstdint>

#include "buffers/sampler_position.h"

namespace auspool {

// Samples of one channel, `stride` floats apart.
template <typename Sample>
struct Strided {
  Sample *data;
  std::size_t stride;

  Sample &operator[](std::size_t i) const { return data[i * stride]; }
  Strided from(std::size_t i) const { return {data + i * stride, stride}; }
};

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

// Where output frames of the steady run lie.
struct SamplerPlaces {
  static constexpr std::uint32_t kMost = 128;

  std::uint32_t count;
  std::size_t base;            // the source frame from which offsets count
  std::int32_t offset[kMost];  // of the first of the four frames
  float t[kMost];              // the distance from the second, in frames
};

// The places from output frame `first` on, as many as there are up to `end` and SamplerPlaces::kMost.
void find_places(const SamplerPosition &position, std::uint32_t first, std::uint32_t end, SamplerPlaces &places);

// Interpolates at these places: one channel, or two that lie side by side in source and destination.
void interpolate_channel(const SamplerPlaces &places, Strided<const float> source, Strided<float> destination);
void interpolate_pair(const SamplerPlaces &places, Strided<const float> source, Strided<float> destination);

}  // namespace auspool
