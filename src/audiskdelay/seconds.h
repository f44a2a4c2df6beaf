// Seconds of f32 and frames.
#pragma once

#include <algorithm>
#include <cstdint>

namespace auspool::audiskdelay {

// Whole units in so many seconds, at most `most`. What is not above 0 is none, NaN among it.
inline std::uint64_t units_in(float seconds, double units_per_second, std::uint64_t most) {
  const double units = seconds > 0.0f ? static_cast<double>(seconds) * units_per_second : 0.0;
  return units < static_cast<double>(most) ? static_cast<std::uint64_t>(units) : most;
}

inline float seconds_of(std::uint64_t units, double units_per_second) {
  return static_cast<float>(static_cast<double>(units) / units_per_second);
}

// Ten seconds of frames, in bytes, for a ring; 0 for a rate that no ring holds.
inline std::int32_t ring_bytes(float rate, std::int32_t frame_bytes) {
  constexpr float kHighestRate = 20000000.0f;  // of which ten seconds still have a size of 31 bits
  if (!(rate >= 1.0f && rate <= kHighestRate)) return 0;
  return static_cast<std::int32_t>(rate) * 10 * frame_bytes;
}

}  // namespace auspool::audiskdelay
