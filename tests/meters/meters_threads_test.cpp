// One thread feeds a meter while others read and reset it: every word that they share is one of its own.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "meters/level_meter.h"
#include "meters/spectrum_meter.h"

namespace auspool {
namespace {

using testing::Samples;

constexpr int kRounds = 100;

// Feeds until `use` has run kRounds times on each of two threads. A round waits for a block, so that they do overlap.
template <typename Feed, typename Use>
void feed_while(const Feed &feed, const Use &use) {
  std::atomic<int> fed = 0, at_work = 2;
  const auto reader = [&] {
    for (int round = 0; round < kRounds; ++round) {
      for (const int before = fed; fed == before;) std::this_thread::yield();
      use(round);
    }
    --at_work;
  };
  std::thread first(reader), second(reader);
  for (; at_work > 0; ++fed) feed();
  first.join();
  second.join();
}

TEST(LevelMeterThreads, ReadsSeeLevelsThatABlockCanHave) {
  using namespace testing::level_meter;
  const Meter meter = make();
  const Samples loud(64, 2.0f);
  feed_while([&] { process(meter, loud); },
             [&](int) {
               for (const Get get : {aumeter_get_peak_decibels, aumeter_get_rms_decibels}) {
                 const Pair decibels = read(meter, get);
                 EXPECT_GE(decibels.left, -120.0f);
                 EXPECT_LE(decibels.right, 0.0f);
               }
               const Pair clips = read(meter, aumeter_get_clip);
               EXPECT_LE(clips.left, 1.0f);
               const Pair metered = read(meter, aumeter_get_peak_metered);
               EXPECT_GE(metered.left, 0.0f);
               EXPECT_LE(metered.right, 1.0f);
             });
  process(meter, loud);
  EXPECT_EQ(meter->peak[0], 1.0f);
  EXPECT_EQ(meter->rms[1], 1.0f);
}

TEST(LevelMeterThreads, ResetsAndNewFalloffsGoInBetween) {
  using namespace testing::level_meter;
  const Meter meter = make();
  const Samples loud(64, 0.5f);
  feed_while([&] { process(meter, loud); },
             [&](int round) {
               aumeter_set_falloff(meter.get(), static_cast<float>(round % 40));
               aumeter_reset(meter.get());
               EXPECT_LE(read(meter, aumeter_get_rms_metered).left, 1.0f);
             });
  process(meter, loud);
  EXPECT_EQ(meter->peak[0], 0.5f);
}

TEST(SpectrumMeterThreads, ReadsSeeLevelsThatABlockCanHave) {
  using namespace testing::spectrum_meter;
  const Meter meter = make(64);
  const Samples sine = bin_sine(200, 64, 10, 2.0);
  process(meter, sine);
  feed_while([&] { process(meter, sine); },
             [&](int) {
               for (const float level : read(meter)) ASSERT_LE(level, 0.0f);
               for (const float level : read(meter, auspecmeter_get_spectrum_metered)) ASSERT_LE(level, 1.0f);
               Samples bars(16);
               auspecmeter_get_log_spectrum(meter.get(), bars.data(), 16);
               for (const float bar : bars) ASSERT_TRUE(bar >= 0.0f && bar <= 1.0f) << bar;
             });
  process(meter, sine);
  EXPECT_NEAR(meter->levels[10], 0, 0.5);
}

TEST(SpectrumMeterThreads, ResetsGoInBetween) {
  using namespace testing::spectrum_meter;
  const Meter meter = make(64);
  const Samples sine = bin_sine(200, 64, 10, 2.0);
  feed_while([&] { process(meter, sine); },
             [&](int) {
               auspecmeter_reset(meter.get());
               for (const float level : read(meter)) ASSERT_LE(level, 0.0f);
             });
  process(meter, sine);
  EXPECT_NEAR(meter->levels[10], 0, 0.5);
}

}  // namespace
}  // namespace auspool
