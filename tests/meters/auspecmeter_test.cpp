#include "auspool/auspecmeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <random>

#include "meters/auspecmeter_record.h"
#include "meters/log_spectrum.h"
#include "meters/spectrum_model.h"
#include "support/hand_clock.h"
#include "support/signals.h"
#include "support/watch.h"

namespace auspool {
namespace {

using testing::HandClock;
using testing::Samples;
using testing::SpectrumModel;

struct Destroy {
  void operator()(auspecmeter *meter) const { auspecmeter_destroy(meter); }
};
using Meter = std::unique_ptr<auspecmeter, Destroy>;

Meter make(std::int32_t width) {
  return Meter(auspecmeter_create(width));
}

void process(const Meter &meter, Samples left, Samples right) {
  const au_channel_pair pair = {left.data(), right.data()};
  auspecmeter_process_ni2ch(meter.get(), &pair, static_cast<std::int32_t>(left.size()));
}
void process(const Meter &meter, const Samples &both) {
  process(meter, both, both);
}

using Get = void (*)(auspecmeter *, float *);
Samples read(const Meter &meter, Get get = auspecmeter_get_spectrum_decibels) {
  Samples levels(static_cast<std::size_t>(auspecmeter_get_width(meter.get())));
  get(meter.get(), levels.data());
  return levels;
}

// A sine that fits `bin` times into the transform.
Samples bin_sine(std::size_t frames, std::int32_t width, double bin, double amplitude) {
  return testing::sine(frames, 2.0 * width, bin, amplitude);
}

TEST(SpectrumMeter, IsMadeInPowersOfTwoFrom32To2048) {
  for (const std::int32_t width : {32, 64, 128, 256, 512, 1024, 2048}) {
    const Meter meter = make(width);
    ASSERT_NE(meter, nullptr);
    EXPECT_EQ(auspecmeter_get_width(meter.get()), width);
    EXPECT_EQ(meter->fft_size, 2 * width);
  }
  for (const std::int32_t width : {16, 31, 33, 48, 0, -32, 4096, 2049, std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_EQ(make(width), nullptr) << width;
  }
  EXPECT_EQ(auspecmeter_get_width(nullptr), 0);
  auspecmeter_destroy(nullptr);
}

TEST(SpectrumMeter, LeavesNothingBehindWhenMemoryFails) {
  const auto create = [] { return make(64) != nullptr; };
  create();  // the transform's tables are shared and stay
  EXPECT_GE(testing::fail_each_allocation(create), 5);
}

TEST(SpectrumMeter, ReadsFullScaleInBothChannelsAsNoughtAndInOneAsMinusSix) {
  const HandClock clock;
  for (const std::int32_t width : {32, 512, 2048}) {
    const auto frames = static_cast<std::size_t>(2 * width);
    const Samples sine = bin_sine(frames, width, 8, 1.0);
    const Meter both = make(width);
    process(both, sine);
    EXPECT_NEAR(read(both)[8], 0, 0.15) << width;  // the window is of an odd length
    const Meter one = make(width);
    process(one, Samples(frames), sine);
    EXPECT_NEAR(read(one)[8], -6.02, 0.15) << width;
    const Meter quiet = make(width);
    process(quiet, bin_sine(frames, width, 8, 0.01));
    EXPECT_NEAR(read(quiet)[8], -40, 0.15) << width;
  }
}

TEST(SpectrumMeter, ReadsNoiseAtItsPowerInEachBin) {
  const HandClock clock;
  const Meter meter = make(512);
  process(meter, testing::noise(1024 * 200, 1, 0.5));
  // The sum of the channels has four times the power of each, the window a mean square of 3 / 32; the transform doubles
  // amplitudes, and the spectrum is divided by half the size.
  const double expected = 4 * (0.25 / 3) * (3.0 / 32) * 1024 * 4 / (512.0 * 512);
  double mean = 0;
  for (const float level : read(meter)) mean += std::pow(10, static_cast<double>(level) / 10) / 512;
  EXPECT_NEAR(10 * std::log10(mean / expected), 0, 0.1);
}

TEST(SpectrumMeter, HoldsABinToFullScale) {
  const HandClock clock;
  const Meter meter = make(64);
  process(meter, bin_sine(128 * 4, 64, 10, 30.0));
  const Samples levels = read(meter);
  EXPECT_EQ(*std::max_element(levels.begin(), levels.end()), 0.0f);
  process(meter, Samples(256, std::numeric_limits<float>::max()));
  for (const float level : read(meter)) EXPECT_LE(level, 0.0f);
}

TEST(SpectrumMeter, HoldsEachSpectrumToFullScaleBeforeTheMean) {
  const HandClock clock;
  const Meter meter = make(64);
  // Two spectra: one far beyond full scale, one silent.
  Samples block = bin_sine(128, 64, 10, 100.0);
  block.resize(64 * 2 + 64 * 4);
  process(meter, block);  // five passes: the first full, the second half a sine, the others silent
  EXPECT_NEAR(read(meter)[10], 10 * std::log10(2.0 / 5), 0.01);
}

TEST(SpectrumMeter, CountsBin0AtHalfAndLeavesOutHalfTheRate) {
  const HandClock clock;
  const Meter constant = make(64);
  process(constant, Samples(128, 0.25f));
  // Both channels: 0.5, times the window's mean of a quarter, twice for the transform and times 1 / half.
  EXPECT_NEAR(read(constant)[0], 20 * std::log10(0.5 * 0.25 * 127 / 128 * 2 * 0.5 * 2), 0.01);
  const Meter nyquist = make(64);
  Samples alternating(128);
  for (std::size_t i = 0; i < 128; ++i) alternating[i] = i % 2 == 0 ? 0.5f : -0.5f;
  process(nyquist, alternating);
  EXPECT_EQ(read(nyquist)[0], -120.0f);
}

TEST(SpectrumMeter, JumpsFromMinus80ToMinus120) {
  const HandClock clock;
  for (const auto &[amplitude, seen] : {std::pair{1.2e-4, true}, std::pair{0.8e-4, false}}) {
    const Meter meter = make(128);
    process(meter, bin_sine(256, 128, 20, amplitude));
    const float level = read(meter)[20];
    EXPECT_EQ(level > -80.0f && level < -78.0f, seen) << level;
    EXPECT_EQ(level == -120.0f, !seen) << level;
  }
}

TEST(SpectrumMeter, WaitsForAFullBuffer) {
  const HandClock clock;
  const Meter meter = make(64);
  for (int frames = 0; frames < 127; ++frames) process(meter, Samples(1, 0.5f));
  EXPECT_EQ(meter->update_count, 0u);
  EXPECT_EQ(meter->sample_count, 127);
  for (const auto &level : meter->levels) EXPECT_EQ(level, -120.0f);
  process(meter, Samples(1, 0.5f));
  EXPECT_EQ(meter->update_count, 1u);
  EXPECT_EQ(meter->sample_count, 64);
  EXPECT_GT(meter->levels[0], -20.0f);
}

TEST(SpectrumMeter, OverlapsByHalfAndKeepsWhatIsLeftOver) {
  const HandClock clock;
  const struct {
    std::size_t frames;
    std::int32_t held;
    std::uint32_t updates;
  } blocks[] = {{128, 64, 1},         // exactly the buffer: one pass
                {63, 127, 1},         // one short
                {1, 64, 2},           //
                {64, 64, 3},          // half a buffer each
                {64 * 5, 64, 4},      // several passes are one update
                {64 * 2 + 7, 71, 5},  //
                {0, 71, 5}};
  const Meter meter = make(64);
  for (const auto &block : blocks) {
    process(meter, Samples(block.frames, 0.1f));
    EXPECT_EQ(meter->sample_count, block.held) << block.frames;
    EXPECT_EQ(meter->update_count, block.updates) << block.frames;
  }
}

TEST(SpectrumMeter, IgnoresBlocksWithoutFrames) {
  const Meter meter = make(64);
  auspecmeter_process_ni2ch(meter.get(), nullptr, 0);
  auspecmeter_process_ni2ch(meter.get(), nullptr, -7);
  EXPECT_EQ(meter->sample_count, 0);
}

TEST(SpectrumMeter, RisesAtOnceAndFallsBy20DecibelsASecond) {
  HandClock clock;
  const Meter meter = make(64);
  process(meter, bin_sine(128, 64, 10, 0.1));
  const float level = read(meter)[10];
  EXPECT_NEAR(level, -20, 0.2);
  clock.move(0.5);
  EXPECT_NEAR(read(meter)[10], level - 10, 1e-4);
  process(meter, Samples(192));  // silence, with a rest of the sine in the first spectrum
  process(meter, Samples(64));
  clock.move(1);
  process(meter, Samples(64));
  EXPECT_LT(meter->levels[10], level - 29);
  for (int i = 0; i < 3; ++i) process(meter, bin_sine(64, 64, 10, 0.5));
  EXPECT_NEAR(read(meter)[10], -6, 0.3);
}

TEST(SpectrumMeter, CompoundsReadsWithoutAnUpdate) {
  HandClock clock;
  const Meter meter = make(64);
  process(meter, bin_sine(128, 64, 10, 1.0));
  const float level = meter->levels[10];
  clock.move(0.25);
  EXPECT_NEAR(read(meter)[10], level - 5, 1e-4);
  EXPECT_EQ(meter->levels[10], level);  // the first only looks
  EXPECT_NEAR(read(meter)[10], level - 5, 1e-4);
  EXPECT_NEAR(meter->levels[10], level - 5, 1e-4);
  EXPECT_NEAR(read(meter)[10], level - 10, 1e-4);
  EXPECT_NEAR(read(meter)[10], level - 15, 1e-4);
}

TEST(SpectrumMeter, SwingsBelowItsFloorWhileNothingComes) {
  HandClock clock;
  const Meter meter = make(32);
  // Never updated: second 0 is far away, and the counts are equal, so that the first read stores.
  EXPECT_LT(read(meter)[0], -1e9f);
  EXPECT_EQ(read(meter)[0], -120.0f);
  EXPECT_LT(read(meter)[0], -1e9f);
  EXPECT_EQ(read(meter)[0], -120.0f);
  for (const float level : read(meter, auspecmeter_get_spectrum_metered)) EXPECT_EQ(level, 0.0f);
}

TEST(SpectrumMeter, ALevelOfJustTheFloorFallsOnRead) {
  HandClock clock;
  const Meter meter = make(32);
  process(meter, Samples(64));
  EXPECT_EQ(meter->levels[5], -120.0f);
  clock.move(0.5);
  EXPECT_NEAR(read(meter)[5], -130, 1e-4);
  EXPECT_NEAR(read(meter)[5], -130, 1e-4);  // stored now
  EXPECT_EQ(read(meter)[5], -120.0f);       // being below the floor
  EXPECT_NEAR(read(meter)[5], -130, 1e-4);
}

TEST(SpectrumMeter, MeteredReadsRunFrom0At80BelowTo1) {
  HandClock clock;
  const Meter meter = make(64);
  process(meter, bin_sine(128, 64, 10, 10.0));
  EXPECT_EQ(read(meter, auspecmeter_get_spectrum_metered)[10], 1.0f);
  clock.move(2);
  EXPECT_NEAR(read(meter, auspecmeter_get_spectrum_metered)[10], 0.5, 1e-5);
  clock.move(3);
  EXPECT_EQ(read(meter, auspecmeter_get_spectrum_metered)[10], 0.0f);
}

TEST(SpectrumMeter, ForgetsAtAReset) {
  HandClock clock;
  const Meter meter = make(64);
  process(meter, bin_sine(200, 64, 10, 1.0));
  auspecmeter_reset(meter.get());
  EXPECT_EQ(meter->sample_count, 0);
  EXPECT_EQ(meter->last_time, 0.0);
  EXPECT_EQ(meter->update_count, 1u);
  for (const auto &level : meter->levels) EXPECT_EQ(level, -120.0f);
}

TEST(SpectrumMeter, LetsNaNPass) {
  const HandClock clock;
  const Meter meter = make(64);
  process(meter, bin_sine(128, 64, 10, 0.5));
  Samples block(64);
  block[3] = std::nanf("");
  process(meter, block);
  for (const auto &level : meter->levels) EXPECT_FALSE(std::isnan(level));
  EXPECT_NEAR(meter->levels[10], -6, 0.2);
  process(meter, Samples(128));
  for (int i = 0; i < 3; ++i) process(meter, bin_sine(64, 64, 20, 0.5));
  EXPECT_NEAR(meter->levels[20], -6, 0.3);
}

TEST(SpectrumMeter, FollowsAPlainModelOverRandomBlocksWaitsAndReads) {
  std::mt19937 random(1);
  for (int run = 0; run < 30; ++run) {
    HandClock clock;
    const Meter meter = make(32);
    SpectrumModel model(32);
    for (int step = 0; step < 60; ++step) {
      const double wait = static_cast<double>(random() % 200) * 1e-3;
      clock.move(wait);
      model.now += wait;
      if (random() % 2 == 0) {
        const double amplitude = std::pow(10, -static_cast<double>(random() % 5));
        const Samples left = testing::noise(random() % 200, static_cast<std::uint32_t>(step), amplitude);
        const Samples right = testing::noise(left.size(), static_cast<std::uint32_t>(step + 1000), amplitude);
        process(meter, left, right);
        model.process(left, right);
      }
      if (random() % 2 == 0) {
        const Samples levels = read(meter);
        const std::vector<double> expected = model.read();
        // At the edges of -80 and -120 decibels a rounding decides; the ballistics there have tests of their own.
        for (std::size_t i = 0; i < levels.size(); ++i) {
          ASSERT_NEAR(std::max(static_cast<double>(levels[i]), -79.9), std::max(expected[i], -79.9), 2e-3)
              << run << ' ' << step << ' ' << i;
        }
      }
    }
  }
}

TEST(SpectrumMeter, RunsOnARealTimeThread) {
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
