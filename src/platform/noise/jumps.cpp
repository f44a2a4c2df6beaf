#include "platform/noise/jumps.h"

#include "platform/noise.h"

namespace auspool {
namespace {

constexpr Jumps make_jumps(std::size_t steps_per_lane) {
  Jumps jumps{};
  for (std::size_t i = 0; i < Jumps::kDigits; ++i) {
    for (std::uint32_t value = 1; value < 4; ++value) {
      std::uint32_t state = value << (2 * i);
      for (std::size_t lane = 0; lane <= kNoiseLanes; ++lane) {
        jumps.lanes[i][value][lane] = state;
        for (std::size_t step = 0; step < steps_per_lane; ++step) state = next_noise(state);
      }
    }
  }
  return jumps;
}

// For each bit of the state, what becomes of it in 2^k steps: of two jumps one of twice the length.
struct Powers {
  static constexpr std::size_t kCount = 64;
  std::uint32_t columns[kCount][32];

  constexpr std::uint32_t jump(std::size_t power, std::uint32_t state) const {
    std::uint32_t later = 0;
    for (std::size_t bit = 0; bit < 32; ++bit) later ^= state >> bit & 1 ? columns[power][bit] : 0;
    return later;
  }
};

constexpr Powers make_powers() {
  Powers powers{};
  for (std::size_t bit = 0; bit < 32; ++bit) powers.columns[0][bit] = next_noise(std::uint32_t{1} << bit);
  for (std::size_t power = 1; power < Powers::kCount; ++power) {
    for (std::size_t bit = 0; bit < 32; ++bit)
      powers.columns[power][bit] = powers.jump(power - 1, powers.columns[power - 1][bit]);
  }
  return powers;
}

constexpr Powers kPowers = make_powers();

}  // namespace

std::uint32_t later_noise(std::uint32_t state, std::uint64_t steps) {
  for (std::size_t power = 0; steps > 0; ++power, steps >>= 1) {
    if (steps & 1) state = kPowers.jump(power, state);
  }
  return state;
}

constinit const Jumps rectangular_jumps = make_jumps(kValuesPerLane);
constinit const Jumps triangular_jumps = make_jumps(2 * kValuesPerLane);

}  // namespace auspool
