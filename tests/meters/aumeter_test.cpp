#include "auspool/aumeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "meters/level_meter.h"
#include "support/hand_clock.h"
#include "support/signals.h"

namespace auspool {
namespace {

using namespace testing::level_meter;
using testing::HandClock;
using testing::Samples;

TEST(LevelMeter, StartsAtTheFloorAndFallsBy20DecibelsASecond) {
  const HandClock clock;
  const Meter meter = make();
  EXPECT_EQ(meter->falloff, 20.0);
  EXPECT_EQ(meter->process_count, 1u);
  EXPECT_EQ(meter->peak_read_count, 0u);
  EXPECT_EQ(peak(meter), -120.0f);
  EXPECT_EQ(rms(meter), -120.0f);
}

TEST(LevelMeter, ReadsSinesAndNoiseAtTheirLevels) {
  const HandClock clock;
  const Meter meter = make();
  process(meter, testing::sine(48000, 48000, 997, 0.5), Samples(48000, 0.1f));
  const Pair peaks = read(meter, aumeter_get_peak_decibels);
  const Pair means = read(meter, aumeter_get_rms_decibels);
  EXPECT_NEAR(peaks.left, -6.0206, 1e-3);
  EXPECT_NEAR(means.left, -9.0309, 1e-3);
  EXPECT_NEAR(peaks.right, -20, 1e-4);
  EXPECT_NEAR(means.right, -20, 1e-4);
  const Meter noisy = make();
  process(noisy, testing::noise(48000, 1, 0.5));
  EXPECT_NEAR(rms(noisy), 20 * std::log10(0.5 / std::sqrt(3.0)), 0.1);  // evenly spread
}

TEST(LevelMeter, FallsByItsRateWhileTheClockGoesOn) {
  HandClock clock;
  const Meter meter = make();
  process(meter, Samples(100, 0.5f));
  clock.move(1.5);
  EXPECT_NEAR(peak(meter), -6.0206 - 30, 1e-3);
  aumeter_set_falloff(meter.get(), 7.0f);
  process(meter, Samples(100, 0.5f));
  clock.move(2);
  EXPECT_NEAR(peak(meter), -6.0206 - 14, 1e-3);
}

TEST(LevelMeter, ABlockRaisesALevelAtOnceAndNeverLowersIt) {
  HandClock clock;
  const Meter meter = make();
  process(meter, Samples(100, 0.5f));
  clock.move(0.1);
  process(meter, Samples(100, 0.01f));
  EXPECT_NEAR(peak(meter), -6.0206 - 2, 1e-3);
  EXPECT_NEAR(rms(meter), -6.0206 - 2, 1e-3);
  process(meter, Samples(100, -0.9f));
  EXPECT_NEAR(peak(meter), 20 * std::log10(0.9), 1e-4);
}

TEST(LevelMeter, MeasuresChannelsApart) {
  const HandClock clock;
  const Meter meter = make();
  process(meter, Samples(64, 0.5f), Samples(64, 2.0f));
  const Pair clips = read(meter, aumeter_get_clip);
  EXPECT_EQ(clips.left, 0.0f);
  EXPECT_EQ(clips.right, 1.0f);
  EXPECT_NEAR(read(meter, aumeter_get_peak_decibels).left, -6.0206, 1e-3);
}

TEST(LevelMeter, ExactlyFullScaleIsNoClip) {
  const HandClock clock;
  const Meter meter = make();
  for (const float x : {1.0f, -1.0f}) process(meter, Samples(3, x));
  EXPECT_EQ(clip(meter), 0.0f);
  EXPECT_EQ(peak(meter), 0.0f);
  process(meter, Samples{0, 1.0001f, 0});
  EXPECT_EQ(clip(meter), 1.0f);
  EXPECT_EQ(meter->peak[0], 1.0f);
  EXPECT_EQ(peak(meter), 0.0f);
}

TEST(LevelMeter, HoldsRmsToFullScale) {
  const HandClock clock;
  const Meter meter = make();
  for (const float x : {1.5f, 1e30f, std::numeric_limits<float>::infinity()}) {
    process(meter, Samples(50, x));
    EXPECT_EQ(meter->rms[0], 1.0f);
    EXPECT_EQ(meter->peak[0], 1.0f);
  }
}

TEST(LevelMeter, WithoutFramesLetsLevelsFallAgainAndAgain) {
  HandClock clock;
  const Meter meter = make();
  process(meter, Samples(10, 1.5f));
  const double last_time = meter->last_time;
  for (const std::int32_t frames : {0, -5}) {
    clock.move(0.5);
    aumeter_process_ni2ch(meter.get(), nullptr, frames);
    EXPECT_EQ(meter->last_time, last_time);
    EXPECT_EQ(meter->process_count, 2u);
  }
  // 0.5 seconds, then the whole second: all six levels.
  for (const LevelPair *levels : {&meter->peak, &meter->rms, &meter->clip}) {
    for (const auto &level : *levels) EXPECT_NEAR(level, std::pow(10, -1.5), 1e-6);
  }
}

TEST(LevelMeter, ALevelBelowAMillionthFallsStraightToZero) {
  HandClock clock;
  const Meter meter = make();
  meter->peak[0] = std::nextafter(1e-6f, 0.0f);
  meter->peak[1] = 1e-6f;
  meter->last_time = 1.5e9;
  aumeter_process_ni2ch(meter.get(), nullptr, 0);
  EXPECT_EQ(meter->peak[0], 0.0f);
  EXPECT_NEAR(meter->peak[1], 1e-6f, 1e-12);
}

TEST(LevelMeter, TheFirstReadAfterABlockStoresNothingAndLaterOnesCompound) {
  HandClock clock;
  const Meter meter = make();
  process(meter, Samples(10, 1.0f));
  clock.move(0.25);  // 5 decibels
  EXPECT_NEAR(peak(meter), -5, 1e-4);
  EXPECT_EQ(meter->peak[0], 1.0f);
  EXPECT_NEAR(peak(meter), -5, 1e-4);  // from the same level; now stored
  EXPECT_NEAR(meter->peak[0], std::pow(10, -0.25), 1e-6);
  EXPECT_NEAR(peak(meter), -10, 1e-4);
  EXPECT_NEAR(peak(meter), -15, 1e-4);
  process(meter, Samples(10, 1e-6f));
  EXPECT_NEAR(peak(meter), -20, 1e-4);  // the block let it fall once more
}

TEST(LevelMeter, AReadAfterABlockDoesNotLowerTheStoredLevel) {
  HandClock clock;
  const Meter meter = make();
  for (int i = 0; i < 5; ++i) {
    process(meter, Samples(10, 0.5f));
    clock.move(0.1);
    peak(meter);
    EXPECT_EQ(meter->peak[0], 0.5f);
  }
}

TEST(LevelMeter, CountsReadsOfEachKindApart) {
  HandClock clock;
  const Meter meter = make();
  process(meter, Samples(10, 1.5f));
  clock.move(1);
  peak(meter), peak(meter);
  EXPECT_LT(meter->peak[0], 0.2f);
  EXPECT_EQ(meter->rms[0], 1.0f);
  EXPECT_EQ(meter->clip[0], 1.0f);
  EXPECT_EQ(meter->peak_read_count, 2u);
  EXPECT_EQ(meter->rms_read_count, 0u);
}

TEST(LevelMeter, StoredLevelsStopAtTheFloor) {
  HandClock clock;
  const Meter meter = make();
  process(meter, Samples(10, 1.0f));
  clock.move(100);
  peak(meter);
  EXPECT_EQ(peak(meter), -120.0f);
  EXPECT_EQ(meter->peak[0], 1e-6f);
}

TEST(LevelMeter, TheClipIndicatorFallsInAStraightLineBelowZero) {
  HandClock clock;
  const Meter meter = make();
  process(meter, Samples(10, 1.5f));
  clock.move(1);
  EXPECT_NEAR(clip(meter), 0.5, 1e-6);
  clock.move(1);
  EXPECT_NEAR(clip(meter), 0, 1e-6);  // the second read stores
  clock.move(1);
  EXPECT_NEAR(clip(meter), -1.5, 1e-6);
  EXPECT_NEAR(meter->clip[0], -1.5, 1e-6);
  process(meter, Samples(10, 0.5f));
  EXPECT_EQ(meter->clip[0], 0.0f);
}

TEST(LevelMeter, ABlockLowersTheClipIndicatorByDecibels) {
  HandClock clock;
  const Meter meter = make();
  process(meter, Samples(10, 1.5f));
  clock.move(1);
  process(meter, Samples(10, 0.5f));
  EXPECT_NEAR(meter->clip[0], 0.1, 1e-6);
}

TEST(LevelMeter, AResetPutsItsLevelsFarInThePast) {
  HandClock clock;  // at 0: a machine that has just started
  const Meter meter = make();
  process(meter, Samples(10, 1.5f));
  aumeter_set_falloff(meter.get(), 1.0f);
  aumeter_reset(meter.get());
  EXPECT_EQ(meter->last_time, 0.0);
  EXPECT_EQ(meter->process_count, 2u);
  EXPECT_EQ(meter->falloff, 1.0);
  EXPECT_EQ(peak(meter), -120.0f);
  EXPECT_LT(clip(meter), -1e6f);
  meter->peak[0] = 1.0f;  // as a read that races with the reset may store it
  EXPECT_EQ(peak(meter), -120.0f);
}

TEST(LevelMeter, MeteredReadsGoThroughTheScaleAndCountAsReads) {
  HandClock clock;
  const Meter meter = make();
  process(meter, Samples(10, 1.0f));
  clock.move(0.5);
  EXPECT_EQ(read(meter, aumeter_get_peak_metered).left, db2metered_levels(-10.0f));
  EXPECT_EQ(read(meter, aumeter_get_rms_metered).right, db2metered_levels(-10.0f));
  EXPECT_NEAR(peak(meter), -10, 1e-4);
  EXPECT_NEAR(meter->peak[0], std::pow(10, -0.5), 1e-6);
}

TEST(MeterScale, RunsFromNoughtToNearlyOne) {
  EXPECT_NEAR(db2metered_levels(0), 0.99298, 1e-5);
  EXPECT_EQ(db2metered_levels(-94.7f), 0.0f);
  EXPECT_EQ(db2metered_levels(-120), 0.0f);
  EXPECT_GT(db2metered_levels(-94.5f), 0.0f);
  for (float db = -90; db < 6; db += 0.5f) EXPECT_LT(db2metered_levels(db), db2metered_levels(db + 0.5f));
  const double at_minus_20 = std::exp(-20 * 0.04477564857835981) * 1.007570579766528 - 0.014587645157888678;
  EXPECT_EQ(db2metered_levels(-20), static_cast<float>(at_minus_20));
}

TEST(LevelMeter, AddsUpBlocksOfAnyLengthAndPlace) {
  const HandClock clock;
  for (const std::size_t frames : {1u, 2u, 3u, 15u, 16u, 63u, 64u, 65u, 127u, 1000u, 4099u}) {
    const Samples noise = testing::noise(frames, 7);
    double sum = 0;
    for (const float x : noise) sum += static_cast<double>(x) * static_cast<double>(x);
    const Meter meter = make();
    process(meter, noise);
    EXPECT_NEAR(meter->rms[0], std::sqrt(sum / static_cast<double>(frames)), 2e-6) << frames;
    const float largest = std::abs(
        *std::max_element(noise.begin(), noise.end(), [](float a, float b) { return std::abs(a) < std::abs(b); }));
    EXPECT_NEAR(meter->peak[0], largest, 1e-7) << frames;
  }
}

}  // namespace
}  // namespace auspool
