#include <cmath>
#include <limits>

#include "resampler/resampler/fixture.h"
#include "support/watch.h"

namespace auspool {
namespace {

using testing::Samples;

using ResamplerSafety = testing::TwoChannelResampler;
using ResamplerDeathTest = testing::TwoChannelResampler;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST_F(ResamplerSafety, RatesWithoutARatioTakeNothingAndRepeatTheLastFrame) {
  const double pairs[][2] = {
      {0, 48000},    {48000, 0},         {-48000, 48000},    {48000, -48000},        {kNaN, 48000},
      {48000, kNaN}, {kInfinity, 48000}, {48000, kInfinity}, {kInfinity, kInfinity}, {0, 0}};
  for (const auto &[in, out] : pairs) {
    EXPECT_EQ(needed(100, in, out), 0u) << in << " " << out;
    EXPECT_EQ(resampler_frames_out(context.get(), 100, in, out), 0) << in << " " << out;
    Samples output(200, 9.0f);
    resampler_resample_i2ch(context.get(), nullptr, output.data(), 100, in, out);
    for (float sample : output) ASSERT_EQ(sample, 0.0f) << in << " " << out;
  }
  EXPECT_EQ(context->position, 0.0);
  signal = testing::noise(500, 1);
  for (float sample : next(100, 48000, 44100)) EXPECT_TRUE(std::isfinite(sample));
}

TEST_F(ResamplerSafety, CountsBeyond32BitsAreHeldAtTheMost) {
  EXPECT_EQ(resampler_frames_in(context.get(), INT32_MAX, 96000, 48000), INT32_MAX);
  EXPECT_EQ(resampler_frames_in(context.get(), INT32_MAX, 48000, 96000), 1 << 30);
  EXPECT_EQ(resampler_frames_in(context.get(), 1000, 1e12, 1), INT32_MAX);
  EXPECT_EQ(resampler_frames_out(context.get(), INT32_MAX, 48000, 96000), INT32_MAX);
  EXPECT_EQ(resampler_frames_out(context.get(), 1000, 1, 1e12), INT32_MAX);
}

TEST_F(ResamplerSafety, CountsBelowOneConvertNothing) {
  const au_channel_pair none = {nullptr, nullptr};
  for (std::int32_t frames : {0, -1, INT32_MIN}) {
    EXPECT_EQ(resampler_resample_ni2ch(context.get(), &none, &none, frames, 96000, 48000), 0);
  }
  EXPECT_EQ(resampler_resample_i2ch(context.get(), nullptr, nullptr, 0, 96000, 48000), 0u);
  EXPECT_EQ(context->source_rate, 44100.0) << "not even the rate is taken";
}

TEST_F(ResamplerSafety, WhatIsNotANumberIsSoonForgotten) {
  for (float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    for (double in : {22050.0, 44100.0, 96000.0, 400000.0}) {
      Samples noise = testing::noise(10000, 1);
      noise[50] = bad;
      restart(noise);
      next(200, in, 44100);
      next(3, in, 44100);  // what the filter made of it may still be among the last three input frames
      for (float sample : next(200, in, 44100)) ASSERT_TRUE(std::isfinite(sample)) << in;
    }
  }
}

TEST_F(ResamplerSafety, DenormalNumbersAreFlushedAndTheModeRestored) {
  volatile float smallest = std::numeric_limits<float>::min();
  volatile float half = 0.5f;
  restart(Samples(1000, 1e-41f));
  for (float sample : next(500, 22050, 44100)) ASSERT_EQ(sample, 0.0f);
  EXPECT_GT(smallest * half, 0.0f);
}

TEST_F(ResamplerSafety, IsSafeOnARealTimeThread) {
  Samples input(8000, 0.5f), output(1000);
  const au_channel_pair from = {input.data(), input.data() + 4000}, to = {output.data(), output.data() + 500};
  const std::uint32_t options = 1;
  const auto use = [&] {
    for (double in : {22050.0, 44100.0, 48000.0, 192000.0}) {
      resampler_frames_in(context.get(), 400, in, 44100);
      resampler_frames_out(context.get(), 400, in, 44100);
      resampler_resample_i2ch(context.get(), input.data(), output.data(), 400, in, 44100);
      resampler_resample_ni2ch(context.get(), &from, &to, 400, in, 44100);
      resampler_set_options(context.get(), &options);
    }
    resampler_reset(context.get());
  };
  {
    const testing::RealtimeGuard guard;
    use();
  }
  if (!testing::run_without_system_calls(use)) GTEST_SKIP() << "system calls cannot be refused in this build";
}

TEST_F(ResamplerSafety, DestroyAcceptsNull) {
  resampler_destroy(nullptr);
}

TEST_F(ResamplerDeathTest, ResettingNothingIsAnAssertionFailure) {
  EXPECT_DEATH(resampler_reset(nullptr), "resamp");
}

TEST_F(ResamplerDeathTest, RunningOutOfMemoryIsAnAssertionFailure) {
  EXPECT_DEATH(
      {
        const testing::CallFailer failer("operator new");
        resampler_create();
      },
      "src/resampler/resampler.*resamp");
}

}  // namespace
}  // namespace auspool
