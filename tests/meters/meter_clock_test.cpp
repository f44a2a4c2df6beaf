#include "meters/meter_clock.h"

#include <gtest/gtest.h>

#include "support/hand_clock.h"

namespace auspool {
namespace {

TEST(MeterClock, CountsSecondsFromLongBeforeTheStartOfTheMachine) {
  testing::HandClock clock;
  const double start = meter_seconds();
  EXPECT_GT(start, 1e9);
  clock.move(2.5);
  EXPECT_NEAR(meter_seconds() - start, 2.5, 1e-6);
}

TEST(MeterClock, NeverCountsBackwards) {
  testing::HandClock clock;
  clock.move(10);
  const double now = meter_seconds();
  EXPECT_EQ(meter_seconds_since(now + 1), 0.0);
  EXPECT_NEAR(meter_seconds_since(now - 1), 1, 1e-6);
}

TEST(MeterClock, KnowsTheTicksOfItsClock) {
  testing::HandClock clock({125, 3});
  const double start = meter_seconds();
  clock.ticks = 24000000;  // 41.67 nanoseconds each
  EXPECT_NEAR(meter_seconds() - start, 1, 1e-6);
}

}  // namespace
}  // namespace auspool
