// What follows from a quality alone. Its filters' figures are in quality_parameters_map.
#pragma once

#include <cstdint>

namespace auspool {

inline constexpr std::int32_t kQualities = 5;

constexpr bool is_quality(std::int32_t quality) {
  return quality >= 0 && quality < kQualities;
}

// Bytes of a sample inside a chain.
constexpr std::uint32_t sample_size_of(std::int32_t quality) {
  return quality < 3 ? 4 : 8;
}

}  // namespace auspool
