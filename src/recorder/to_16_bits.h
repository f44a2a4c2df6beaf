// Samples for encoders of 16 bits.
#pragma once

#include <cstdint>

namespace auspool {

// A sample that was scaled to 32768 for full scale: toward zero, and then held to the range. NaN is 0.
constexpr std::int32_t to_16_bits(float scaled) {
  scaled = scaled == scaled ? scaled : 0.0f;
  scaled = scaled < 32767.0f ? scaled : 32767.0f;
  scaled = scaled > -32768.0f ? scaled : -32768.0f;
  return static_cast<std::int32_t>(scaled);
}

}  // namespace auspool
