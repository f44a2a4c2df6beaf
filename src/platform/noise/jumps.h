// How the generator's state at one place follows from that at another. A step is linear over the bits of the state, so
// any number of steps is an exclusive or of what each bit contributes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace auspool {

constexpr std::uint32_t next_noise(std::uint32_t x) {
  x ^= x << 13;
  x ^= x >> 17;
  return x ^ x << 5;
}

inline constexpr std::size_t kNoiseLanes = 64;
inline constexpr std::size_t kValuesPerLane = 4;

// The states at which the lanes of a tile begin, and behind them that at which the next tile begins, by the state at
// its start: for each two bits of that, what their four values contribute.
struct Jumps {
  static constexpr std::size_t kDigits = 16;
  static constexpr std::size_t kRow = kNoiseLanes + 16;  // one more, and the rest of a vector

  alignas(64) std::uint32_t lanes[kDigits][4][kRow];

  const std::uint32_t *row(std::uint32_t state, std::size_t digit) const {
    return lanes[digit][state >> (2 * digit) & 3];
  }
  // Of lane kNoiseLanes: that of the next tile.
  std::uint32_t lane_start(std::uint32_t state, std::size_t lane) const {
    std::uint32_t start = 0;
    for (std::size_t i = 0; i < kDigits; ++i) start ^= row(state, i)[lane];
    return start;
  }
};

extern const Jumps rectangular_jumps;  // a step a value
extern const Jumps triangular_jumps;   // two steps a value

}  // namespace auspool
