// Decibels in meter units, and folded onto a logarithmic scale of frequencies.
#pragma once

#include <algorithm>
#include <cstdint>

namespace auspool {

// 0 at -80 decibels and below, 1 at 0.
inline float to_meter_units(float decibels) {
  return std::max(0.0f, (decibels + 80) * 0.0125f);
}

// The mean of values[first] to values[last]; values[first] where there are no more.
float compute_average(const float *values, std::uint32_t first, std::uint32_t last);

}  // namespace auspool
