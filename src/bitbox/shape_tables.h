// Noise-shaping filters for common sample rates. The tables are written by tools/shape_tables.py.
#pragma once

#include <cstddef>
#include <cstdint>

namespace auspool {

struct FweightedShape {
  std::uint32_t rate;
  std::int32_t count;  // of taps
  const float *taps;
};

inline constexpr std::size_t kFweightedShapes = 11;
extern const FweightedShape fweighted_shape_coeffs[kFweightedShapes];  // the first is for 44100

inline constexpr std::size_t kFlatFloorTaps = 40;
extern const float flat_floor_low_coeffs[kFlatFloorTaps];
extern const float flat_floor_med_coeffs[kFlatFloorTaps];
extern const float flat_floor_high_coeffs[kFlatFloorTaps];

}  // namespace auspool
