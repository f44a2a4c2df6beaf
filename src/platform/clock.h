// The host's clock.
#pragma once

#include <cstdint>

namespace auspool::platform {

// Nanoseconds of a clock that never steps back, from an arbitrary start. Safe on the real-time
// thread.
std::uint64_t clock_ticks();

// Ticks and nanoseconds relate as numer / denom: nanoseconds = ticks * numer / denom.
struct ClockRatio {
  std::uint32_t numer = 1;
  std::uint32_t denom = 1;
};
ClockRatio clock_ratio();

// Puts another clock in place of the host's, for tests; null puts the host's back. The source must
// be set while no other thread reads the clock.
struct ClockSource {
  std::uint64_t (*ticks)(void *context);
  void *context;
  ClockRatio ratio;
};
void replace_clock(const ClockSource *source);

}  // namespace auspool::platform
