#include "platform/clock.h"

#include <gtest/gtest.h>

#include <thread>

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

TEST(Clock, IsSafeOnARealTimeThread) {
  const testing::RealtimeGuard guard;
  clock_ticks();
  clock_ratio();
}

}  // namespace
}  // namespace auspool::platform
