#include "auspool/resampler.h"

#include <cmath>
#include <numbers>
#include <vector>

#include "resampler/resampler/fixture.h"
#include "resampler/resampler/interpolation.h"

namespace auspool {
namespace {

using testing::line;
using testing::Samples;

using Resampler = testing::TwoChannelResampler;

constexpr std::uint32_t kNoShortcut = 1;

TEST_F(Resampler, BeginsAt44100WithNothing) {
  EXPECT_EQ(context->source_rate, 44100.0);
  EXPECT_EQ(context->position, 0.0);
  EXPECT_EQ(context->filter_cutoff, 0.0f);
  EXPECT_EQ(context->options, 0u);
}

TEST_F(Resampler, CountsWhatAConversionTakes) {
  EXPECT_EQ(needed(100, 88200, 44100), 200u);
  EXPECT_EQ(needed(100, 44100, 48000), 92u);  // 91.875
  EXPECT_EQ(needed(1, 44100, 48000), 1u);
  EXPECT_EQ(needed(0, 44100, 48000), 0u);
  EXPECT_EQ(needed(-1, 44100, 48000), 0u);
  EXPECT_EQ(needed(INT32_MIN, 44100, 48000), 0u);
}

TEST_F(Resampler, CountsWithItsPositionOnlyAtTheRateThatItHad) {
  next(100, 44100, 48000);
  ASSERT_EQ(context->position, 91.875 - 92);
  EXPECT_EQ(needed(1, 44100, 48000), 1u);   // 0.91875 - 0.125
  EXPECT_EQ(needed(6, 44100, 264600), 1u);  // 1 - 0.125
  EXPECT_EQ(needed(8, 44100, 352800), 1u);
  EXPECT_EQ(needed(10, 44100, 352800), 2u);  // 1.25 - 0.125
  EXPECT_EQ(needed(9, 44100, 352800), 1u);   // 1.125 - 0.125
  EXPECT_EQ(needed(9, 48000, 384000), 2u);   // 1.125: another rate, no carry
}

TEST_F(Resampler, ANewContextHasItsCarryAt44100) {
  context->position = -0.5;
  EXPECT_EQ(needed(1, 44100, 88200), 0u);  // a ceiling of 0, of whatever sign
  EXPECT_EQ(needed(1, 48000, 96000), 1u);
}

TEST_F(Resampler, CountsWhatFramesCanGive) {
  const auto given = [&](std::int32_t frames, double in, double out) {
    return resampler_frames_out(context.get(), frames, in, out);
  };
  EXPECT_EQ(given(0, 48000, 44100), 0);
  EXPECT_EQ(given(-5, 48000, 44100), 0);
  EXPECT_EQ(given(1, 192000, 8000), 0) << "one frame at a high ratio";
  EXPECT_EQ(given(24, 192000, 8000), 1);
  EXPECT_EQ(given(100, 44100, 88200), 200);
  EXPECT_EQ(given(147, 44100, 48000), 160);
  context->position = -0.5;
  EXPECT_EQ(given(1, 44100, 88200), 3);
  EXPECT_EQ(given(1, 48000, 96000), 2) << "another rate, no carry";
}

TEST_F(Resampler, EqualRatesCopyAndTheHistoryFollows) {
  const Samples input = testing::noise(2 * 50, 1);
  Samples passed = input;
  EXPECT_EQ(convert(passed, 50, 48000, 48000), input);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(context->history[0][i], input[2 * (47 + i)]);
    EXPECT_EQ(context->history[1][i], input[2 * (47 + i) + 1]);
  }
}

TEST_F(Resampler, TheCopyKeepsThePosition) {
  next(100, 44100, 48000);
  const double position = context->position;
  next(10, 44100, 44100);
  EXPECT_EQ(context->position, position);
}

TEST_F(Resampler, TheCopyIsCountedFrameForFrameAtAnyPosition) {
  for (const double position : {0.0, -0.5, -1.0 + 0x1p-45, -1.0 + 0x1p-53}) {
    context->position = position;
    for (const std::int32_t frames : {1, 2, 4096, 5000}) {
      EXPECT_EQ(resampler_frames_in(context.get(), frames, 44100, 44100), frames) << position;
      EXPECT_EQ(resampler_frames_out(context.get(), frames, 44100, 44100), frames) << position;
    }
  }
  resampler_set_options(context.get(), &kNoShortcut);
  EXPECT_EQ(resampler_frames_in(context.get(), 4096, 44100, 44100), 4095) << "interpolation counts with the position";
}

TEST_F(Resampler, WithoutTheShortcutEqualRatesDelayByTwoFrames) {
  resampler_set_options(context.get(), &kNoShortcut);
  signal = testing::noise(50, 1);
  const Samples out = next(50, 44100, 44100);
  EXPECT_EQ(out[0], 0.0f);
  EXPECT_EQ(out[1], 0.0f);
  EXPECT_TRUE(std::equal(out.begin() + 2, out.end(), signal.begin()));
}

TEST_F(Resampler, NullOptionsChangeNothing) {
  resampler_set_options(context.get(), &kNoShortcut);
  resampler_set_options(context.get(), nullptr);
  EXPECT_EQ(context->options, kNoShortcut);
}

TEST_F(Resampler, OptionsOfZeroBringTheShortcutBack) {
  const std::uint32_t none = 0;
  resampler_set_options(context.get(), &kNoShortcut);
  resampler_set_options(context.get(), &none);
  EXPECT_EQ(context->options, 0u);
  signal = line(20);
  EXPECT_EQ(next(20, 44100, 44100), signal);
}

TEST_F(Resampler, RunsOneSectionMoreForEachOctave) {
  struct {
    double ratio;
    int sections;
  } cases[] = {{0.96, 0}, {1.0, 0},   {1.09, 0},  {1.11, 1}, {2.0, 1}, {2.19, 1}, {2.21, 2},
               {4.0, 2},  {4.3, 2},   {4.5, 3},   {8.0, 3},  {9.0, 4}, {17.8, 5}, {36.0, 6},
               {71.0, 7}, {141.0, 8}, {500.0, 8}, {0.94, 1}, {0.5, 1}, {0.125, 1}};
  for (const auto &c : cases) {
    restart(testing::noise(40000, 1));
    next(50, c.ratio * 44100, 44100);
    EXPECT_EQ(sections_used(), c.sections) << c.ratio;
    const double cutoff = c.ratio > 1 ? 1 / (2 * c.ratio) : c.ratio / 2;
    EXPECT_EQ(context->filter_cutoff, c.sections ? static_cast<float>(cutoff) : 0.0f) << c.ratio;
  }
}

TEST_F(Resampler, GoingDownTheInputIsFilteredInPlaceAndRemembered) {
  const Samples before = testing::noise(2 * 100, 1);
  Samples input = before;
  convert(input, 50, 88200, 44100);
  EXPECT_NE(input, before);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(context->history[0][i], input[2 * (97 + i)]);
}

TEST_F(Resampler, GoingUpTheInputIsLeftAlone) {
  const Samples before = testing::noise(2 * 25, 1);
  Samples input = before;
  convert(input, 50, 22050, 44100);
  EXPECT_EQ(input, before);
}

TEST_F(Resampler, OneOrTwoFramesShiftTheHistory) {
  resampler_set_options(context.get(), &kNoShortcut);
  signal = line(20);
  const float *history = context->history[0];
  struct {
    std::uint32_t frames;
    Samples expected;
  } steps[] = {{1, {0, 0, 1}}, {2, {1, 2, 3}}, {1, {2, 3, 4}}, {3, {5, 6, 7}}, {5, {10, 11, 12}}};
  for (const auto &step : steps) {
    next(step.frames, 44100, 44100);
    EXPECT_EQ(Samples(history, history + 3), step.expected);
  }
}

// Blocks begin between frames, so that the distance from the held frame is negative: a line must go on all the same.
TEST_F(Resampler, BlocksOfAnySizeContinueALine) {
  for (double ratio : {0.96, 0.99, 1.001, 1.09}) {
    for (std::uint32_t block : {3u, 5u, 7u, 64u}) {
      restart(line(3000));
      Samples out;
      while (out.size() < 800) {
        for (float sample : next(block, ratio * 44100, 44100)) out.push_back(sample);
      }
      for (std::size_t i = 20; i < 800; ++i) ASSERT_NEAR(out[i] - out[i - 1], ratio, 1e-3) << ratio << " " << block;
    }
  }
}

// Going up, a call may need no input at all. It must not look for any; the newest frame stands for the next.
TEST_F(Resampler, WithoutInputTheNewestFrameIsRepeated) {
  signal = Samples(10, 0.5f);
  next(8, 44100, 48000);
  context->position = -0.97;  // 1 * 0.91875 - 0.97 is below 0
  ASSERT_EQ(needed(1, 44100, 48000), 0u);
  float *const nowhere = nullptr;
  float out[2] = {9, 9};
  context->filter_cutoff = 0.0f;
  EXPECT_EQ(resampler_resample_i2ch(context.get(), nowhere, out, 1, 44100, 48000), 1u);
  EXPECT_NEAR(context->position, 0.91875 - 0.97, 1e-12);
  EXPECT_EQ(context->history[0][2], 0.5f);

  const ResamplerPlace place = resampler_place({-0.5, 0.5}, 0, 0);
  EXPECT_EQ(place.frame, 0.0);
  EXPECT_EQ(place.distance, -0.5f);
  const float history[] = {1, 2, 3};
  EXPECT_EQ(interpolate_at_edge({0.0, 0.0f}, history, {nullptr, 1}, 0), 2.0f);
  const float flat[] = {3, 3, 3};
  EXPECT_EQ(interpolate_at_edge(place, flat, {nullptr, 1}, 0), 3.0f);
}

// Positions are counted in single precision, which rounds up just below a whole number in a very long block.
TEST_F(Resampler, TheFrameIsHeldBelowTheInputsEnd) {
  const double just_below = 4194304.0 - 0.01;  // a float here is a multiple of 0.5
  ASSERT_EQ(static_cast<float>(just_below), 4194304.0f);
  const ResamplerPlace place = resampler_place({0.0, just_below / 1000}, 1000, 4194304);
  EXPECT_EQ(place.frame, 4194303.0);
  EXPECT_NEAR(place.distance, 0.99f, 1e-6);
  const ResamplerRun run = find_run({0.0, just_below / 1000}, 4194304, 1001);
  EXPECT_EQ(run.end, 1000u) << "and is not part of the run";
}

TEST_F(Resampler, AnotherInputRateStartsAfresh) {
  signal = testing::noise(5000, 1);
  next(100, 96000, 44100);
  Samples input = testing::noise(2 * 55, 2), same = input;  // 50 * 48000 / 44100 = 54.4
  const Samples out = convert(input, 50, 48000, 44100);
  context = make();
  EXPECT_EQ(convert(same, 50, 48000, 44100), out);
  EXPECT_EQ(context->source_rate, 48000.0);
}

// Counted with the rate before, a block may be a frame longer or shorter than what the new rate takes.
TEST_F(Resampler, ACountTakenBeforeAnotherInputRateMayBeOneFrameOff) {
  next(100, 44100, 48000);
  const double carry = context->position;
  ASSERT_LT(carry, -0.1);
  const std::uint32_t counted = needed(12, 44100, 48000);  // 11.025 less the carry
  EXPECT_EQ(counted, 11u);
  EXPECT_EQ(needed(12, 44100.0001, 48000), 12u) << "another rate has no carry";
  Samples input = testing::noise(2 * 12, 2);
  convert(input, 12, 44100.0001, 48000);
  EXPECT_NEAR(context->position, 11.025 - 12, 1e-3) << "the position begins anew";
}

TEST_F(Resampler, ThePositionStaysAboveMinusOneWhateverRounds) {
  Samples input(2);
  convert(input, 90, 384000, 1e303);
  EXPECT_GT(context->position, -1.0);
  EXPECT_LT(context->position, -0.999);
  EXPECT_EQ(needed(1, 384000, 1e303), 0u);
}

TEST_F(Resampler, AnotherOutputRateGoesOn) {
  resampler_set_options(context.get(), &kNoShortcut);
  signal = line(5000);
  next(50, 44100, 44100);
  float last = next(50, 44100, 45000).back();
  for (double out : {44100.0, 44500.0, 43000.0, 41000.0, 45500.0}) {
    const Samples block = next(20, 44100, out);
    EXPECT_NEAR(block[0] - last, 1.0f, 0.1f) << out;
    last = block.back();
  }
}

TEST_F(Resampler, GoingUpAndDownShareTheFirstSection) {
  signal = testing::noise(5000, 1);
  next(100, 44100, 22050);
  ASSERT_EQ(sections_used(), 1);
  const float x1 = context->filter_input[0][1];
  next(1, 44100, 88200);
  EXPECT_EQ(context->filter_input[0][0], x1) << "its state goes on";
}

TEST_F(Resampler, ResetForgetsTheAudioAlone) {
  resampler_set_options(context.get(), &kNoShortcut);
  signal = testing::noise(5000, 1);
  next(100, 96000, 22050);
  const float b0 = context->coefficients.b0;
  resampler_reset(context.get());
  EXPECT_EQ(context->position, 0.0);
  EXPECT_TRUE(is_zero(context->history[0], 6));
  EXPECT_TRUE(is_zero(context->filter_input[0], 32));
  EXPECT_TRUE(is_zero(context->filter_output[0], 32));
  EXPECT_EQ(context->filter_cutoff, 0.0f);
  EXPECT_EQ(context->source_rate, 96000.0);
  EXPECT_EQ(context->options, kNoShortcut);
  EXPECT_EQ(context->coefficients.b0, b0);
}

TEST_F(Resampler, KeepsATonesLevelAndDelaysItByTwoInputFrames) {
  for (double out : {44000.0, 44200.0, 45900.0, 40300.0}) {  // without a filter
    restart(testing::sine(5000, 44100, 1000, 1.0));
    const Samples tone = next(2000, 44100, out);
    for (std::size_t i = 10; i < tone.size(); ++i) {
      const double frame = static_cast<double>(i) * 44100 / out - 2.0;
      ASSERT_NEAR(tone[i], std::sin(2 * std::numbers::pi * frame * 1000 / 44100), 1e-4) << out << " " << i;
    }
  }
}

TEST_F(Resampler, GoingDownWeakensAliases) {
  const auto loudest = [&](double hz) {
    restart(testing::sine(20000, 96000, hz, 1.0));
    const Samples out = next(2000, 96000, 24000);
    return *std::max_element(out.begin() + 100, out.end());
  };
  EXPECT_GT(loudest(1000), 0.95f);
  EXPECT_LT(loudest(40000), 0.05f);
}

}  // namespace
}  // namespace auspool
