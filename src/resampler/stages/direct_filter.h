// What the builders of the direct stages share: the designed filter, its delay, and how a builder fails.
#pragma once

#include <cstdint>

#include "auspool/raesampler_stages.h"
#include "resampler/memory.h"

namespace auspool {

// A low-pass of `length` taps by `spec`, split into `phases` rows of `taps` samples that run forwards over a line.
// Throws std::bad_alloc.
struct DirectFilter {
  DirectFilter(std::int32_t sample_size, const stage_spec &spec, std::int32_t length, std::int32_t taps,
               std::int32_t phases);

  Block<std::byte> rows;
  std::int32_t peak = 0;  // of a minimum-phase filter
};

// How many of `taps` an output has behind it when it lines up with its input. `peak` is in taps of that window.
constexpr std::int32_t direct_filter_delay(std::int32_t taps, bool minimum_phase, std::int32_t peak) {
  return minimum_phase ? peak + 1 : (taps & 1) + (taps >> 1);
}

// Whether a spec makes a direct filter. Lengths and factors may be far above what any plan asks for.
bool is_filter(const stage_spec &spec);

// Runs a builder's body. 0, or -1 for arguments that make no stage and when the body throws.
template <typename Body>
std::int32_t build_stage(bool is_valid, std::int32_t sample_size, std::int32_t channels, Body body) {
  if (!is_valid || (sample_size != 4 && sample_size != 8) || channels < 1) return -1;
  try {
    body();
    return 0;
  } catch (...) {
    return -1;
  }
}

}  // namespace auspool
