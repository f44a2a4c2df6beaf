#include <auspool/auclock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>

#include "platform/clock.h"
#include "support/hand_clock.h"
#include "support/watch.h"

namespace auspool {
namespace {

using Clock = std::unique_ptr<auclock, decltype(&auclock_destroy)>;
using Timebase = std::unique_ptr<autimebase, decltype(&autimebase_destroy)>;

Clock make_clock(std::uint64_t abstime, std::int64_t sampletime, double rate) {
  return {auclock_create(abstime, sampletime, rate), auclock_destroy};
}

// A clock that a test moves by hand, in place of the host's for the length of a scope.
class HandClock {
public:
  explicit HandClock(platform::ClockRatio ratio) : source_{&read, this, ratio} { platform::replace_clock(&source_); }
  ~HandClock() { platform::replace_clock(nullptr); }
  std::uint64_t ticks = 0;

private:
  static std::uint64_t read(void *self) { return static_cast<HandClock *>(self)->ticks; }
  platform::ClockSource source_;
};

TEST(Timebase, TicksAreNanosecondsWhereTheRatioIsOne) {
  const Timebase timebase(autimebase_create(), autimebase_destroy);
  EXPECT_EQ(autimebase_frequency(timebase.get()), 1e9);
  for (const std::uint64_t t : {std::uint64_t{0}, std::uint64_t{12345}, UINT64_MAX}) {
    EXPECT_EQ(autimebase_abstime_to_nanoseconds(timebase.get(), t), t);
    EXPECT_EQ(autimebase_nanoseconds_to_abstime(timebase.get(), t), t);
  }
}

TEST(Timebase, OtherRatiosConvertExactlyAndRoundDown) {
  HandClock hand({125, 3});
  hand.ticks = 24'000'001;
  const Timebase timebase(autimebase_create(), autimebase_destroy);
  EXPECT_EQ(autimebase_frequency(timebase.get()), 3.0 / 125 * 1e9);
  EXPECT_EQ(autimebase_abstime(nullptr), 24'000'001u);
  EXPECT_EQ(autimebase_nanoseconds(timebase.get()), 1'000'000'041u);
  EXPECT_EQ(autimebase_abstime_to_nanoseconds(timebase.get(), 1), 41u);
  EXPECT_EQ(autimebase_nanoseconds_to_abstime(timebase.get(), 1'000'000'041), 24'000'000u);
}

TEST(Timebase, LargeTicksKeepAllTheirBits) {
  HandClock hand({125, 3});
  const Timebase timebase(autimebase_create(), autimebase_destroy);
  EXPECT_EQ(autimebase_abstime_to_nanoseconds(timebase.get(), UINT64_MAX / 125), UINT64_MAX / 125 / 3 * 125 + 41);
}

TEST(Timebase, TheSharedOneIsAlwaysTheSame) {
  EXPECT_EQ(autimebase_get_shared(), autimebase_get_shared());
}

TEST(Timebase, NowIsTheClockInSeconds) {
  const double before = static_cast<double>(platform::clock_ticks()) / 1e9;
  const double now = au_now();
  const double after = static_cast<double>(platform::clock_ticks()) / 1e9;
  EXPECT_GE(now, before);
  EXPECT_LE(now, after);
}

// In a process of its own, for the first call keeps the clock's ratio. The product comes first, and ticks have no sign.
TEST(TimebaseDeathTest, NowScalesTicksByTheRatioOfTheClock) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto is_right = [] {
    auspool::testing::HandClock clock({125, 3});
    for (const std::uint64_t ticks : {std::uint64_t{1}, std::uint64_t{123456789012345}, std::uint64_t{1} << 63}) {
      clock.ticks = ticks;
      if (au_now() != 125.0 * static_cast<double>(ticks) / 3 / 1e9) return false;
    }
    return true;
  };
  EXPECT_EXIT(std::exit(is_right() ? 0 : 1), ::testing::ExitedWithCode(0), "");
}

TEST(Clock, GivesBackWhatItWasMadeOf) {
  const Clock clock = make_clock(123, -45, 48000.5);
  const Clock copy(auclock_create_copy(clock.get()), auclock_destroy);
  for (const auclock *c : {clock.get(), copy.get()}) {
    EXPECT_EQ(auclock_epoch_abstime(c), 123u);
    EXPECT_EQ(auclock_epoch_sampletime(c), -45);
    EXPECT_EQ(auclock_rate(c), 48000.5);
    EXPECT_EQ(auclock_abstime_to_sampletime(c, 2'000'000'123), 96001 - 45);
  }
}

TEST(Clock, RoundsTicksNearlyDownAndSamplesHalfASampleLate) {
  const Clock clock = make_clock(1000, 0, 44100);
  EXPECT_EQ(auclock_sampletime_to_abstime(clock.get(), 0), 1000u + 11337);  // 500000000 / 44100
  EXPECT_EQ(auclock_abstime_to_sampletime(clock.get(), 1000), 0);
  EXPECT_EQ(auclock_abstime_to_sampletime(clock.get(), 1000 + 22675), 0);  // just under one sample
  EXPECT_EQ(auclock_abstime_to_sampletime(clock.get(), 1000 + 22676), 1);
  EXPECT_EQ(auclock_abstime_to_sampletime(clock.get(), 1000 + 45351), 2);  // 1.99998 samples: the rounding term counts
}

// The largest difference that a round trip from samples to ticks and back makes.
std::int64_t round_trip_error(double rate) {
  std::mt19937_64 random(7);
  const Clock clock = make_clock(random() >> 8, static_cast<std::int64_t>(random() >> 20), rate);
  std::int64_t worst = 0;
  for (int i = 0; i < 2000; ++i) {
    const auto sample = auclock_epoch_sampletime(clock.get()) + static_cast<std::int64_t>(random() >> 32);
    const std::uint64_t ticks = auclock_sampletime_to_abstime(clock.get(), sample);
    worst = std::max(worst, std::abs(auclock_abstime_to_sampletime(clock.get(), ticks) - sample));
  }
  return worst;
}

TEST(Clock, FromSamplesToTicksAndBackIsExactAtWholeRates) {
  for (const double rate : {44100.0, 48000.0, 8000.0, 192000.0, 1.0}) EXPECT_EQ(round_trip_error(rate), 0) << rate;
}

TEST(Clock, FromSamplesToTicksAndBackLosesAtMostOneAtOtherRates) {
  for (const double rate : {44100.5, 48000.123, 44100.1, 1.5}) EXPECT_LE(round_trip_error(rate), 1) << rate;
}

TEST(Clock, AMeasuredRateDoesNotOverflow) {
  for (const double rate : {44100.1, 48000.123, 47999.9987654321, 44100 * (1 + 37e-6)}) {
    const Clock clock = make_clock(0, 0, rate);
    EXPECT_EQ(auclock_abstime_to_sampletime(clock.get(), 1'000'000'000), static_cast<std::int64_t>(rate)) << rate;
    const std::uint64_t day = 86400ull * 1'000'000'000;
    const long double expected = 86400.0L * static_cast<long double>(rate);
    EXPECT_NEAR(static_cast<double>(auclock_abstime_to_sampletime(clock.get(), day) - expected), 0, 1.0) << rate;
  }
}

TEST(Clock, ConversionsNeverDrift) {
  const Clock clock = make_clock(0, 0, 44100.5);
  const std::uint64_t year = 365ull * 86400 * 1'000'000'000;
  EXPECT_EQ(auclock_abstime_to_sampletime(clock.get(), year), 365ll * 86400 * 88201 / 2);
}

TEST(Clock, ANegativeEpochOfSamplesWorks) {
  const Clock clock = make_clock(5'000'000'000, -44100, 44100);
  EXPECT_EQ(auclock_abstime_to_sampletime(clock.get(), 6'000'000'000), 0);
  EXPECT_EQ(auclock_sampletime_to_abstime(clock.get(), 0), 6'000'000'000u + 11337);
}

TEST(Clock, ARateThatIsNoneGivesTheEpoch) {
  for (const double rate : {0.0, std::nan(""), std::numeric_limits<double>::infinity(), 1e-300}) {
    const Clock clock = make_clock(77, 99, rate);
    ASSERT_TRUE(clock);
    EXPECT_EQ(auclock_abstime_to_sampletime(clock.get(), 1'000'000), 99) << rate;
    EXPECT_EQ(auclock_sampletime_to_abstime(clock.get(), 1'000'000), 77u) << rate;
  }
}

TEST(Clock, ANegativeRateAndTimesBeforeTheEpochDoNotCrash) {
  const Clock clock = make_clock(1'000'000, 0, -44100);
  (void)auclock_abstime_to_sampletime(clock.get(), 2'000'000);
  const Clock forward = make_clock(1'000'000, 0, 44100);
  (void)auclock_abstime_to_sampletime(forward.get(), 0);
  (void)auclock_sampletime_to_abstime(forward.get(), -1000);
}

TEST(Clock, CreationSurvivesAFailedAllocation) {
  autimebase_get_shared();
  EXPECT_GT(testing::fail_each_allocation([] { return make_clock(0, 0, 44100) != nullptr; }), 0);
  EXPECT_GT(testing::fail_each_allocation([] {
              autimebase *timebase = autimebase_create();
              autimebase_destroy(timebase);
              return timebase != nullptr;
            }),
            0);
}

TEST(Clock, ConversionsAreFitForTheRealTimeThread) {
  const Clock clock = make_clock(0, 0, 48000);
  au_now();
  const auto use = [&] {
    const testing::RealtimeGuard guard;
    au_now();
    auclock_abstime_to_sampletime(clock.get(), autimebase_abstime(nullptr));
    auclock_sampletime_to_abstime(clock.get(), 1000);
  };
  use();
  testing::run_without_system_calls(use);
}

}  // namespace
}  // namespace auspool
