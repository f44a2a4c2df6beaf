#include "buffers/smeter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "support/signals.h"
#include "support/watch.h"

namespace auspool {
namespace {

using testing::Samples;

constexpr float kRate = 1000.0f;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

class SilenceMeter : public ::testing::Test {
protected:
  // Processes both channels in one layout or the other; the answers must be the same.
  int process(const Samples &left, const Samples &right, float rate = kRate) {
    const auto frames = static_cast<std::int32_t>(left.size());
    const float *const channels[2] = {left.data(), right.data()};
    const Samples both = testing::interleave(left, right);
    smeter planar = *meter;
    const int answer = smeter_process_i2ch(meter.get(), both.data(), frames, rate);
    EXPECT_EQ(smeter_process_ni2ch(&planar, channels, frames, rate), answer);
    EXPECT_EQ(planar.silence_time, meter->silence_time);
    EXPECT_EQ(planar.has_signal, meter->has_signal);
    EXPECT_EQ(smeter_has_audio_signal(meter.get()), answer);
    return answer;
  }
  int process_level(std::size_t frames, float left, float right) {
    return process(Samples(frames, left), Samples(frames, right));
  }
  float silence() const { return smeter_silence_time(meter.get()); }

  std::unique_ptr<smeter, decltype(&smeter_destroy)> meter{smeter_create(), smeter_destroy};
};

TEST_F(SilenceMeter, BeginsAtMinus120DecibelsWithNothingHeard) {
  EXPECT_EQ(smeter_rms_threshold(meter.get()), -120.0f);
  EXPECT_FLOAT_EQ(meter->rms_threshold, 1e-6f);
  EXPECT_EQ(silence(), 0.0f);
  EXPECT_EQ(smeter_has_audio_signal(meter.get()), 0);
}

TEST_F(SilenceMeter, AddsUpSilenceUntilAudioComes) {
  EXPECT_EQ(process_level(500, 0.0f, 0.0f), 0);
  EXPECT_EQ(process_level(250, 0.0f, 0.0f), 0);
  EXPECT_EQ(silence(), 0.75f);
  EXPECT_EQ(process_level(250, 0.1f, 0.1f), 1);
  EXPECT_EQ(silence(), 0.0f);
}

TEST_F(SilenceMeter, TimeIsAddedInSinglePrecision) {
  float expected = 0.0f;
  for (int i = 0; i < 1000; ++i) {
    process(Samples(480, 0.0f), Samples(480, 0.0f), 44100.0f);
    expected += 480.0f / 44100.0f;
  }
  EXPECT_EQ(silence(), expected);
}

TEST_F(SilenceMeter, OneLoudChannelMakesTheWholeBlockAudio) {
  EXPECT_EQ(process_level(100, 0.0f, 1e-4f), 1);  // -80 dB
  EXPECT_EQ(process_level(100, 1e-4f, 0.0f), 1);
  EXPECT_EQ(process_level(100, 1e-7f, 1e-7f), 0);
}

TEST_F(SilenceMeter, ALevelEqualToTheThresholdIsAudio) {
  smeter_set_rms_threshold(meter.get(), 0.0f);
  EXPECT_EQ(process_level(64, 1.0f, 0.0f), 1);
  EXPECT_EQ(process_level(64, -1.0f, 0.0f), 1);
  EXPECT_EQ(process_level(64, 0.999f, 0.999f), 0);
}

TEST_F(SilenceMeter, MeasuresTheRootMeanSquareNotThePeak) {
  const Samples sine = testing::sine(4800, 48000, 1000, 1.0);  // -3.01 dB
  smeter_set_rms_threshold(meter.get(), -3.0f);
  EXPECT_EQ(process(sine, sine), 0);
  smeter_set_rms_threshold(meter.get(), -3.02f);
  EXPECT_EQ(process(sine, sine), 1);
}

TEST_F(SilenceMeter, EveryFrameOfEveryBlockLengthCounts) {
  for (std::size_t frames = 1; frames < 70; ++frames) {
    for (std::size_t loud = 0; loud < frames; ++loud) {
      Samples one(frames, 0.0f);
      one[loud] = 0.5f;
      EXPECT_EQ(process(one, Samples(frames, 0.0f)), 1) << frames << " " << loud;
      EXPECT_EQ(process(Samples(frames, 0.0f), one), 1) << frames << " " << loud;
    }
  }
}

TEST_F(SilenceMeter, NoFramesAreAudio) {
  process_level(500, 0.0f, 0.0f);
  EXPECT_EQ(process({}, {}), 1);
  EXPECT_EQ(silence(), 0.0f);
  process_level(500, 0.0f, 0.0f);
  EXPECT_EQ(smeter_process_i2ch(meter.get(), nullptr, -1, kRate), 1);
  EXPECT_EQ(silence(), 0.0f);
}

TEST_F(SilenceMeter, WhatIsNotANumberIsAudio) {
  EXPECT_EQ(process_level(10, kNaN, 0.0f), 1);
  EXPECT_EQ(process_level(10, 0.0f, kNaN), 1);
  EXPECT_EQ(process_level(10, kInfinity, 0.0f), 1);
  EXPECT_EQ(process_level(10, 0.0f, 0.0f), 0) << "and is forgotten in the next block";
}

TEST_F(SilenceMeter, ALowerThresholdForgetsTheSilenceAndAHigherOneKeepsIt) {
  smeter_set_rms_threshold(meter.get(), -60.0f);
  process_level(500, 0.0f, 0.0f);
  smeter_set_rms_threshold(meter.get(), -70.0f);
  EXPECT_EQ(silence(), 0.0f);
  EXPECT_EQ(smeter_rms_threshold(meter.get()), -70.0f);

  process_level(500, 0.0f, 0.0f);
  smeter_set_rms_threshold(meter.get(), -60.0f);
  EXPECT_EQ(silence(), 0.5f);
}

TEST_F(SilenceMeter, AChangeOfThresholdLeavesTheLastAnswer) {
  for (float db : {-60.0f, -130.0f}) {
    process_level(10, 1.0f, 1.0f);
    smeter_set_rms_threshold(meter.get(), db);
    EXPECT_EQ(smeter_has_audio_signal(meter.get()), 1);
  }
}

TEST_F(SilenceMeter, TheSameThresholdChangesNothing) {
  process_level(500, 0.0f, 0.0f);
  meter->rms_threshold = 0.25f;
  smeter_set_rms_threshold(meter.get(), -120.0f);
  EXPECT_EQ(silence(), 0.5f);
  EXPECT_EQ(meter->rms_threshold, 0.25f);
}

TEST_F(SilenceMeter, TheLinearThresholdIsComputedInDoublePrecision) {
  for (float db : {-0.1f, -33.3f, -60.0f, -96.3f, -144.5f, 6.0f}) {
    smeter_set_rms_threshold(meter.get(), db);
    EXPECT_EQ(meter->rms_threshold, static_cast<float>(std::pow(10.0, static_cast<double>(db) / 20.0))) << db;
  }
}

TEST_F(SilenceMeter, HearsBelowTheRangeOfNormalSquares) {
  smeter_set_rms_threshold(meter.get(), -400.0f);  // 1e-20, whose square is a denormal number
  EXPECT_EQ(process_level(16, 1.5e-20f, 0.0f), 1);
  EXPECT_EQ(process_level(16, 0.7e-20f, 0.0f), 0);
}

TEST_F(SilenceMeter, ResetKeepsTheThreshold) {
  smeter_set_rms_threshold(meter.get(), -60.0f);
  process_level(500, 0.0f, 0.0f);
  smeter_reset(meter.get());
  EXPECT_EQ(silence(), 0.0f);
  process_level(10, 1.0f, 1.0f);
  smeter_reset(meter.get());
  EXPECT_EQ(smeter_has_audio_signal(meter.get()), 0);
  EXPECT_EQ(smeter_rms_threshold(meter.get()), -60.0f);
}

TEST_F(SilenceMeter, IsSafeOnARealTimeThread) {
  const Samples block(2 * 100);
  const float *const channels[2] = {block.data(), block.data()};
  const auto use = [&] {
    smeter_process_i2ch(meter.get(), block.data(), 100, kRate);
    smeter_process_ni2ch(meter.get(), channels, 100, kRate);
    smeter_set_rms_threshold(meter.get(), smeter_rms_threshold(meter.get()) - 1.0f);
    smeter_silence_time(meter.get());
    smeter_has_audio_signal(meter.get());
    smeter_reset(meter.get());
  };
  {
    const testing::RealtimeGuard guard;
    use();
  }
  if (!testing::run_without_system_calls(use)) GTEST_SKIP() << "system calls cannot be refused in this build";
}

TEST(SilenceMeterCreation, FailsWithoutALeak) {
  const int failed = testing::fail_each_allocation([] {
    smeter *meter = smeter_create();
    smeter_destroy(meter);
    return meter != nullptr;
  });
  EXPECT_EQ(failed, 1);
}

TEST(SilenceMeterCreation, DestroyAcceptsNull) {
  smeter_destroy(nullptr);
}

}  // namespace
}  // namespace auspool
