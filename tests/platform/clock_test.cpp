#include "platform/clock.h"

#include <gtest/gtest.h>

#include <ctime>
#include <thread>

#include "support/hand_clock.h"
#include "support/watch.h"

namespace auspool::platform {
namespace {

TEST(Clock, CountsNanosecondsAndNeverStepsBack) {
  const std::uint64_t before = clock_ticks();
  std::this_thread::sleep_for(std::chrono::milliseconds(2));
  const std::uint64_t after = clock_ticks();
  EXPECT_GE(after - before, 2000000u);
  EXPECT_EQ(clock_ratio().numer, 1u);
  EXPECT_EQ(clock_ratio().denom, 1u);
}

TEST(Clock, GivesWayToATestsOwn) {
  std::uint64_t now = 42;
  const ClockSource source = {[](void *context) { return *static_cast<std::uint64_t *>(context); }, &now, {125, 3}};
  replace_clock(&source);
  EXPECT_EQ(clock_ticks(), 42u);
  now = 7;
  EXPECT_EQ(clock_ticks(), 7u);
  EXPECT_EQ(clock_ratio().numer, 125u);
  EXPECT_EQ(clock_ratio().denom, 3u);
  replace_clock(nullptr);
  EXPECT_GT(clock_ticks(), 42u);
  EXPECT_EQ(clock_ratio().numer, 1u);
}

TEST(Clock, TheTimeOfDayIsThatOfTheSystemUnlessATestGivesItsOwn) {
  const auto seconds = static_cast<std::uint64_t>(std::time(nullptr));
  EXPECT_GE(time_of_day() / 1000000, seconds);
  EXPECT_LE(time_of_day() / 1000000, seconds + 60);
  testing::HandClock clock;
  clock.time_of_day = 5;
  EXPECT_EQ(time_of_day(), 5u);
}

TEST(Clock, IsSafeOnARealTimeThread) {
  const testing::RealtimeGuard guard;
  clock_ticks();
  clock_ratio();
  time_of_day();
}

}  // namespace
}  // namespace auspool::platform
