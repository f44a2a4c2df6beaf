// The interpolation of one channel: the third-order Lagrange polynomial through four frames, between the second and
// the third of them.
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
};

// Gives `frames_out` frames. Reads the four frames of `history`, which come before the source, and no source frame
// beyond `frames_in`, whatever the positions are.
void sampler_interpolate(const SamplerPosition &position, const float *history, Strided<const float> source,
                         std::uint32_t frames_in, Strided<float> destination, std::uint32_t frames_out);

}  // namespace auspool
