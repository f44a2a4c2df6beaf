// A clock that a test moves by hand, in place of the host's for the length of a scope.
#pragma once

#include <cmath>
#include <cstdint>

#include "platform/clock.h"

namespace auspool::testing {

class HandClock {
public:
  explicit HandClock(platform::ClockRatio ratio = {}) : source_{&read, this, ratio, &read_time_of_day} {
    platform::replace_clock(&source_);
  }
  ~HandClock() { platform::replace_clock(nullptr); }
  HandClock(const HandClock &) = delete;
  HandClock &operator=(const HandClock &) = delete;

  // Where a tick is a nanosecond.
  void move(double seconds) { ticks += static_cast<std::uint64_t>(std::llround(seconds * 1e9)); }

  std::uint64_t ticks = 0;
  std::uint64_t time_of_day = 0;  // microseconds

private:
  static std::uint64_t read(void *self) { return static_cast<HandClock *>(self)->ticks; }
  static std::uint64_t read_time_of_day(void *self) { return static_cast<HandClock *>(self)->time_of_day; }

  platform::ClockSource source_;
};

}  // namespace auspool::testing
