// The spectrum meter without memory, on a real-time thread, and fed with what is no number.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "meters/spectrum_meter.h"
#include "support/hand_clock.h"
#include "support/watch.h"

namespace auspool {
namespace {

using namespace testing::spectrum_meter;
using testing::HandClock;
using testing::Samples;

TEST(SpectrumMeterSafety, LetsNaNPass) {
  const HandClock clock;
  const Meter meter = make(64);
  process(meter, bin_sine(128, 64, 10, 0.5));
  Samples block(64);
  block[3] = std::nanf("");
  process(meter, block);
  for (const float level : stored(meter)) EXPECT_FALSE(std::isnan(level));
  EXPECT_NEAR(meter->levels[10], -6, 0.2);
  process(meter, Samples(128));
  for (int i = 0; i < 3; ++i) process(meter, bin_sine(64, 64, 20, 0.5));
  EXPECT_NEAR(meter->levels[20], -6, 0.3);
}

// The same, at any width and wherever it stands: a level that is NaN would stay.
TEST(SpectrumMeterSafety, NoLevelIsEverNaN) {
  const HandClock clock;
  for (const float bad : {std::nanf(""), std::numeric_limits<float>::infinity(), std::numeric_limits<float>::max()}) {
    for (const std::int32_t width : {32, 2048}) {
      for (const std::size_t at : {std::size_t{0}, std::size_t{17}, static_cast<std::size_t>(3 * width - 1)}) {
        const Meter meter = make(width);
        Samples block(static_cast<std::size_t>(3 * width), 0.1f);
        block[at] = bad;
        process(meter, block);
        for (const float level : stored(meter)) ASSERT_LE(level, 0.0f) << bad;
      }
    }
  }
}

TEST(SpectrumMeterSafety, LeavesNothingBehindWhenMemoryFails) {
  const auto create = [] { return make(64) != nullptr; };
  create();  // the transform's tables are shared and stay
  EXPECT_GE(testing::fail_each_allocation(create), 5);
}

TEST(SpectrumMeterSafety, RunsOnARealTimeThread) {
  const Meter meter = make(2048);
  Samples samples(10000, 0.5f), levels(2048);
  const au_channel_pair pair = {samples.data(), samples.data()};
  const auto use = [&] {
    auspecmeter_process_ni2ch(meter.get(), &pair, 10000);
    auspecmeter_get_spectrum_decibels(meter.get(), levels.data());
    auspecmeter_get_log_spectrum(meter.get(), levels.data(), 100);
    auspecmeter_reset(meter.get());
  };
  {
    testing::RealtimeGuard guard;
    use();
  }
  if (!testing::run_without_system_calls(use)) GTEST_SKIP() << "the kernel does not let a thread go without";
}

}  // namespace
}  // namespace auspool
