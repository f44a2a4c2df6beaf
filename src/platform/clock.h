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

// The time of day: microseconds since 1970. It goes on while the computer sleeps, and steps when somebody sets it.
std::uint64_t time_of_day();

// Puts another clock in place of the host's, for tests; null puts the host's back. The source must
// be set while no other thread reads the clock.
struct ClockSource {
  std::uint64_t (*ticks)(void *context);
  void *context;
  ClockRatio ratio;
  std::uint64_t (*time_of_day)(void *context) = nullptr;  // null: the host's
};
void replace_clock(const ClockSource *source);

}  // namespace auspool::platform
