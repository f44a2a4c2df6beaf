// Conversions of a float to an integer that are defined for every value.
#pragma once

#include <cstdint>

namespace auspool {

// Toward zero; NaN is 0, and what does not fit is the nearest number that does.
constexpr std::int32_t truncate_to_int32(float value) {
  if (value >= 2147483648.0f) return INT32_MAX;
  if (value < -2147483648.0f) return INT32_MIN;
  return value == value ? static_cast<std::int32_t>(value) : 0;
}

}  // namespace auspool
