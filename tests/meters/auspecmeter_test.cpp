#include "auspool/auspecmeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "meters/spectrum_meter.h"
#include "support/hand_clock.h"
#include "support/signals.h"

namespace auspool {
namespace {

using namespace testing::spectrum_meter;
using testing::HandClock;
using testing::Samples;

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
  for (const float level : stored(meter)) EXPECT_EQ(level, -120.0f);
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
  for (int i = 0; i < 2; ++i) process(meter, Samples(64));  // the sine leaves the buffer
  EXPECT_EQ(meter->levels[10], level);
  for (const float fall : {10.0f, 30.0f}) {
    clock.move(fall == 10.0f ? 0.5 : 1.0);
    process(meter, Samples(64));  // silence: from where it stood
    EXPECT_NEAR(meter->levels[10], level - fall, 1e-4);
  }
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
  for (const float level : stored(meter)) EXPECT_EQ(level, -120.0f);
}

}  // namespace
}  // namespace auspool
