#include "meters/meter_clock.h"

#include <algorithm>

#include "platform/clock.h"

namespace auspool {

double meter_seconds() {
  constexpr double kOffset = 1.5e9;
  const platform::ClockRatio ratio = platform::clock_ratio();
  return kOffset + static_cast<double>(platform::clock_ticks()) * ratio.numer / ratio.denom * 1e-9;
}

double meter_seconds_since(double time) {
  return std::max(0.0, meter_seconds() - time);
}

}  // namespace auspool
