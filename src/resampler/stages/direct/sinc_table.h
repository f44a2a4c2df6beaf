// The windowed sinc that the sinc stage reads between: 1024 steps for each sample, and the difference to the next step.
#pragma once

#include <array>
#include <cstdint>

#include "auspool/raesampler_stages.h"
#include "resampler/memory.h"

namespace auspool {

inline constexpr std::int32_t kSincResolution = 1024;

// Step s of the function, counted from where the first of `taps` weights is taken for a position of 0, lies at index
// (s >> 10) + (s & 1023) * taps: the weights of one fraction of a sample are a row.
template <typename Sample>
struct sinc_table {
  std::int32_t resolution;     // kSincResolution
  std::int32_t centre_offset;  // half the function's length, less one sample
  std::int32_t taps;
  const Sample *values;  // taps * 1024 + 1
  const Sample *deltas;
};

// The number of entries in each array.
constexpr std::size_t sinc_table_size(std::int32_t taps) {
  return static_cast<std::size_t>(taps) * kSincResolution + 1;
}

// A table by `spec`, with its arrays in the same memory. Throws std::bad_alloc.
template <typename Sample>
Block<std::byte> make_sinc_table(const stage_spec &spec);

// The arrays for 15 taps under a Kaiser window of beta 5.0 in single precision: the drift stage that real-time threads
// create. They are part of the library's read-only data.
extern const std::array<float, sinc_table_size(15)> sinc15_data;
extern const std::array<float, sinc_table_size(15)> diff15_data;

}  // namespace auspool
