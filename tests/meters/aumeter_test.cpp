#include "auspool/aumeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <random>

#include "meters/aumeter_context.h"
#include "support/hand_clock.h"
#include "support/signals.h"
#include "support/watch.h"

namespace auspool {
namespace {

using testing::HandClock;
using testing::Samples;

struct Destroy {
  void operator()(aumeter *meter) const { aumeter_destroy(meter); }
};
using Meter = std::unique_ptr<aumeter, Destroy>;

Meter make() {
  return Meter(aumeter_create());
}

void process(const Meter &meter, Samples left, Samples right) {
  const au_channel_pair pair = {left.data(), right.data()};
  aumeter_process_ni2ch(meter.get(), &pair, static_cast<std::int32_t>(left.size()));
}
void process(const Meter &meter, const Samples &both) {
  process(meter, both, both);
}

struct Pair {
  float left, right;
};
using Get = void (*)(aumeter *, float *, float *);
Pair read(const Meter &meter, Get get) {
  Pair result;
  get(meter.get(), &result.left, &result.right);
  return result;
}
float peak(const Meter &meter) {
  return read(meter, aumeter_get_peak_decibels).left;
}
float rms(const Meter &meter) {
  return read(meter, aumeter_get_rms_decibels).left;
}
float clip(const Meter &meter) {
  return read(meter, aumeter_get_clip).left;
}

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
  aumeter_set_falloff(nullptr, 7.0f);
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

TEST(LevelMeter, NeverKeepsNaN) {
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

// The same rules in double, over random blocks, waits and reads.
struct Model {
  struct Level {
    double value = 0;
    unsigned read_count = 0;
  };
  Level peak, rms, clip;
  double now = 1.5e9, last_time = 0;
  unsigned process_count = 1;

  double decayed(double level) const {
    return level < 1e-6 ? 0 : std::pow(10, (20 * std::log10(level) - 20 * (now - last_time)) * 0.05);
  }
  void process(const Samples &samples) {
    for (Level *level : {&peak, &rms, &clip}) level->value = decayed(level->value);
    if (samples.empty()) return;
    double largest = 0, sum = 0;
    for (const float x : samples) {
      largest = std::max(largest, std::abs(static_cast<double>(x)));
      sum += static_cast<double>(x) * static_cast<double>(x);
    }
    peak.value = std::max(peak.value, largest);
    if (largest > 1) peak.value = clip.value = 1;
    rms.value = std::min(1.0, std::max(rms.value, std::sqrt(sum / static_cast<double>(samples.size()))));
    last_time = now;
    ++process_count;
  }
  double stored(Level &level, double value) {
    if (level.read_count == process_count) level.value = value;
    level.read_count = process_count;
    return value;
  }
  double decibels(Level &level) { return 20 * std::log10(stored(level, std::max(decayed(level.value), 1e-6))); }
  double read_clip() { return stored(clip, clip.value - (now - last_time) * 0.5); }
};

TEST(LevelMeter, FollowsAPlainModelOverRandomBlocksWaitsAndReads) {
  std::mt19937 random(1);
  for (int run = 0; run < 50; ++run) {
    HandClock clock;
    const Meter meter = make();
    Model model;
    process(meter, Samples(1, 0.5f));
    model.process(Samples(1, 0.5f));
    for (int step = 0; step < 100; ++step) {
      const double wait = static_cast<double>(random() % 1000) * 1e-3;
      clock.move(wait);
      model.now += wait;
      if (random() % 2 == 0) {
        const double amplitude = std::pow(10, -static_cast<double>(random() % 4)) * 1.2;
        const Samples block = testing::noise(random() % 300, static_cast<std::uint32_t>(step), amplitude);
        process(meter, block);
        model.process(block);
      }
      // Errors in decibels add up while reads compound; near the floor of a millionth a level may fall either way.
      if (random() % 2 == 0) {
        const double expected = model.decibels(model.peak);
        const double result = static_cast<double>(peak(meter));
        ASSERT_NEAR(std::max(result, -119.0), std::max(expected, -119.0), 1e-3) << run << ' ' << step;
      }
      if (random() % 2 == 0) {
        const double expected = model.decibels(model.rms);
        const double result = static_cast<double>(rms(meter));
        ASSERT_NEAR(std::max(result, -119.0), std::max(expected, -119.0), 1e-3) << run << ' ' << step;
      }
      if (random() % 2 == 0) {
        const double expected = model.read_clip();
        ASSERT_NEAR(static_cast<double>(clip(meter)), expected, 1e-5 * (1 + std::abs(expected)));
      }
    }
  }
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

TEST(LevelMeter, IsNotMadeWithoutMemory) {
  EXPECT_EQ(testing::fail_each_allocation([] { return make() != nullptr; }), 1);
  aumeter_destroy(nullptr);
}

TEST(LevelMeter, RunsOnARealTimeThread) {
  const Meter meter = make();
  Samples samples(1000, 0.5f);
  const au_channel_pair pair = {samples.data(), samples.data()};
  const auto use = [&] {
    aumeter_process_ni2ch(meter.get(), &pair, 1000);
    peak(meter), rms(meter), clip(meter);
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
