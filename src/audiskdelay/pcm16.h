// Samples of 16 bits, as the delays store them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace auspool::audiskdelay {

// Toward zero, so that all between -1/32768 and 1/32768 is silence, and held to the range: from 0.9999694 on it is
// 32767. NaN is 0.
constexpr std::int16_t to_pcm16(float value) {
  constexpr float kHighest = 0.9999694f;  // the algorithm's own limit; the float below it truncates to 32766
  if (value >= kHighest) return 32767;
  if (value <= -1.0f) return -32768;
  return value == value ? static_cast<std::int16_t>(value * 32768.0f) : std::int16_t{0};
}

// `samples` of these at the start of a buffer become as many floats, which fill it.
void expand_pcm16(float *buffer, std::size_t samples);

}  // namespace auspool::audiskdelay
