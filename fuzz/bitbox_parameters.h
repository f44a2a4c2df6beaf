// What a fuzz input of conversions begins with; the samples follow.
#pragma once

#include <cstdint>

namespace auspool::testing {

struct Parameters {
  std::uint32_t source_format, target_format, dither_type;
  float rate, taps[8];
  std::uint8_t channels, source_stride, target_stride, tap_count, interleaved;
  std::int8_t bits;
  std::uint16_t frames;
};

}  // namespace auspool::testing
