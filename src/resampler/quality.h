// What the five qualities stand for.
#pragma once

#include <cstdint>

namespace auspool {

struct quality_parameters {
  double pass_ripple;
  double stop_ripple;
  double pass_fraction;  // of the lower rate's band, which stays flat
  std::uint32_t window;
  std::int32_t sinc_taps;
};

inline constexpr std::int32_t kQualities = 5;
inline constexpr quality_parameters quality_parameters_map[kQualities] = {
    {1e-03, 1e-03, 0.85, 2, 63},  {1e-05, 1e-05, 0.925, 2, 63},  {1e-08, 1e-08, 0.98, 2, 127},
    {1e-09, 1e-09, 0.99, 2, 255}, {1e-10, 1e-10, 0.995, 2, 255},
};

constexpr bool is_quality(std::int32_t quality) {
  return quality >= 0 && quality < kQualities;
}

// Bytes of a sample inside a chain.
constexpr std::uint32_t sample_size_of(std::int32_t quality) {
  return quality < 3 ? 4 : 8;
}

}  // namespace auspool
