// The level meter without memory, on a real-time thread, and fed with what is no number.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "meters/level_meter.h"
#include "support/hand_clock.h"
#include "support/watch.h"

namespace auspool {
namespace {

using namespace testing::level_meter;
using testing::HandClock;
using testing::Samples;

TEST(LevelMeterSafety, IsNotMadeWithoutMemory) {
  EXPECT_EQ(testing::fail_each_allocation([] { return make() != nullptr; }), 1);
  aumeter_destroy(nullptr);
}

TEST(LevelMeterSafety, NeverKeepsNaN) {
  const HandClock clock;
  const Meter meter = make();
  process(meter, Samples{0.25f, std::nanf(""), -0.5f});
  EXPECT_NEAR(peak(meter), -6.0206, 1e-3);
  EXPECT_EQ(rms(meter), -120.0f);
  process(meter, Samples(300, std::nanf("")));
  EXPECT_NEAR(peak(meter), -6.0206, 1e-3);
  process(meter, Samples(10, 0.5f));
  EXPECT_NEAR(rms(meter), -6.0206, 1e-3);
}

// No time may pass between two calls, and infinity times nothing is NaN.
TEST(LevelMeterSafety, IgnoresAFalloffThatIsNotFinite) {
  const HandClock clock;
  const Meter meter = make();
  for (const float rate : {std::nanf(""), std::numeric_limits<float>::infinity()}) {
    aumeter_set_falloff(meter.get(), rate);
    EXPECT_EQ(meter->falloff, 20.0);
  }
  aumeter_set_falloff(nullptr, 7.0f);
}

// Their squares are nothing next to a millionth, and a processor takes a hundred cycles for each.
TEST(LevelMeterSafety, LeavesTheModeOfDenormalNumbersAsItWas) {
  const HandClock clock;
  const Meter meter = make();
  process(meter, Samples(100, 1e-30f));
  EXPECT_EQ(peak(meter), -120.0f);
  volatile float smallest = std::numeric_limits<float>::min();
  EXPECT_GT(smallest / 4, 0.0f);
}

TEST(LevelMeterSafety, EverythingButMakingRunsOnARealTimeThread) {
  const Meter meter = make();
  Samples samples(1000, 1.5f);
  const au_channel_pair pair = {samples.data(), samples.data()};
  const auto use = [&] {
    aumeter_set_falloff(meter.get(), 10.0f);
    aumeter_process_ni2ch(meter.get(), &pair, 1000);
    aumeter_process_ni2ch(meter.get(), &pair, 0);
    for (const Get get : {aumeter_get_peak_decibels, aumeter_get_rms_decibels, aumeter_get_peak_metered,
                          aumeter_get_rms_metered, aumeter_get_clip})
      read(meter, get);
    aumeter_reset(meter.get());
  };
  {
    testing::RealtimeGuard guard;
    use();
  }
  if (!testing::run_without_system_calls(use)) GTEST_SKIP() << "the kernel does not let a thread go without";
}

}  // namespace
}  // namespace auspool
