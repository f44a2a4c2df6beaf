#include "platform/noise/jumps.h"

namespace auspool {
namespace {

constexpr Jumps make_jumps(std::size_t steps_per_lane) {
  Jumps jumps{};
  for (std::size_t i = 0; i < Jumps::kDigits; ++i) {
    for (std::uint32_t value = 1; value < 4; ++value) {
      std::uint32_t state = value << (2 * i);
      for (std::size_t lane = 0; lane < kNoiseLanes; ++lane) {
        jumps.lanes[i][value][lane] = state;
        for (std::size_t step = 0; step < steps_per_lane; ++step) state = next_noise(state);
      }
      jumps.next[i][value] = state;
    }
  }
  return jumps;
}

}  // namespace

constinit const Jumps rectangular_jumps = make_jumps(kValuesPerLane);
constinit const Jumps triangular_jumps = make_jumps(2 * kValuesPerLane);

}  // namespace auspool
