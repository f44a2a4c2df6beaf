// The noise of dithers: the 32-bit xorshift generator of G. Marsaglia, "Xorshift RNGs" (2003), with shifts 13, 17, 5.
#pragma once

#include <cstddef>
#include <cstdint>

namespace auspool {

inline constexpr std::uint32_t kNoiseSeed = 0xDEADBEEF;

// What a noise's whole range of 31 bits is, so that an amplitude over it is the noise's size.
inline constexpr double kNoiseRange = 2147483647.0;

constexpr std::uint32_t next_noise(std::uint32_t x) {
  x ^= x << 13;
  x ^= x >> 17;
  return x ^ x << 5;
}

// One value of each kind, moving the state on. Rectangular noise is from -0.5 to the range less 0.5, triangular noise
// within plus and minus the range.
constexpr double rectangular_noise(std::uint32_t &state) {
  state = next_noise(state);
  return static_cast<double>(state & 0x7FFFFFFF) - 0.5;
}

constexpr std::int32_t triangular_noise(std::uint32_t &state) {
  const std::uint32_t first = next_noise(state);
  state = next_noise(first);
  return static_cast<std::int32_t>(first & 0x7FFFFFFF) - static_cast<std::int32_t>(state & 0x7FFFFFFF);
}

// Rows of it, times an amplitude.
inline void fill_rectangular(std::uint32_t &state, double amplitude, double *out, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) out[i] = rectangular_noise(state) * amplitude;
}
inline void fill_triangular(std::uint32_t &state, double amplitude, double *out, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) out[i] = triangular_noise(state) * amplitude;
}

}  // namespace auspool
