#include "auspool/ausampler.h"

#include <cmath>
#include <numbers>
#include <vector>

#include "buffers/sampler_fixture.h"

namespace auspool {
namespace {

using testing::ramp;
using testing::Samples;

using Sampler = testing::MonoSampler;

TEST_F(Sampler, BeginsAtPositionOneInOneAllocation) {
  EXPECT_EQ(sampler->channels, 1u);
  EXPECT_EQ(sampler->fraction, 1.0);
  EXPECT_EQ(sampler->cutoff, 0.0f);
  EXPECT_EQ(static_cast<void *>(sampler->channel_state), sampler.get() + 1);
}

TEST_F(Sampler, EqualRatesDelayByTwoFrames) {
  const Samples signal = testing::noise(100, 1);
  restart(signal);
  const Samples out = pull(100, 48000, 48000);
  EXPECT_EQ(out[0], 0.0f);
  EXPECT_EQ(out[1], 0.0f);
  EXPECT_TRUE(std::equal(out.begin() + 2, out.end(), signal.begin()));
  EXPECT_EQ(sampler->fraction, 1.0);
}

TEST_F(Sampler, EqualRatesKeepAFractionalPosition) {
  restart(ramp(50));
  sampler->fraction = 0.75;
  pull(20, 48000, 48000);
  const Samples out = push(20, 48000, 48000);
  ASSERT_EQ(out.size(), 20u);
  for (std::size_t i = 0; i < 20; ++i) EXPECT_NEAR(out[i], static_cast<double>(i) + 19.25, 1e-4);
  EXPECT_EQ(sampler->fraction, 0.75);
}

TEST_F(Sampler, APullOfHalfTheRateTakesTwiceTheFrames) {
  EXPECT_EQ(needed(100, 96000, 48000), 199u);
  pull(100, 96000, 48000);
  EXPECT_EQ(sampler->fraction, 0.5);
}

TEST_F(Sampler, NoFramesChangeNothing) {
  restart(testing::noise(100, 1));
  pull(50, 44100, 48000);
  const double fraction = sampler->fraction;
  const SamplerChannel state = *sampler->channel_state;
  for (double rate : {44100.0, 48000.0, 0.0, std::nan("")}) {
    EXPECT_EQ(needed(0, rate, 48000), 0u);
    EXPECT_EQ(given(0, rate, 48000), 0u);
    EXPECT_EQ(ausampler_read_interleaved(sampler.get(), nullptr, nullptr, 0, rate, 48000), 0u);
    EXPECT_EQ(ausampler_write_interleaved(sampler.get(), nullptr, nullptr, 0, rate, 48000), 0u);
    EXPECT_EQ(ausampler_read_noninterleaved(sampler.get(), nullptr, nullptr, 0, rate, 48000), 0u);
    EXPECT_EQ(ausampler_write_iovec(sampler.get(), nullptr, nullptr, 0, rate, 48000), 0u);
  }
  EXPECT_EQ(sampler->fraction, fraction);
  EXPECT_TRUE(std::equal(state.history, state.history + 4, sampler->channel_state->history));
  EXPECT_EQ(sampler->channel_state->filter.y1, state.filter.y1);
}

TEST_F(Sampler, TheHistoryTakesInWhatWasConsumed) {
  struct {
    std::uint32_t frames;
    Samples history;
  } cases[] = {{1, {0, 0, 0, 1}}, {2, {0, 0, 1, 2}}, {3, {0, 1, 2, 3}}, {4, {1, 2, 3, 4}}, {9, {6, 7, 8, 9}}};
  for (const auto &c : cases) {
    restart(ramp(9));
    push(c.frames, 48000, 48000);
    EXPECT_EQ(Samples(sampler->channel_state->history, sampler->channel_state->history + 4), c.history) << c.frames;
  }
}

TEST_F(Sampler, APushThatGivesNothingStillTakesItsInput) {
  restart(ramp(4));
  const double step = 48000.0 / 8000.0;
  EXPECT_EQ(push(2, 48000, 8000).size(), 1u);  // the one frame that a fresh sampler has in hand
  const double fraction = sampler->fraction;
  EXPECT_EQ(push(2, 48000, 8000).size(), 0u);
  EXPECT_EQ(sampler->fraction, (8000.0 / 48000.0) * 2 + fraction);
  EXPECT_NEAR(sampler->fraction, 4.0 / step, 1e-12);
  EXPECT_EQ(sampler->channel_state->history[3], 4.0f);
}

TEST_F(Sampler, SmallPullsGoingUpTakeNothingNowAndThen) {
  std::vector<std::uint32_t> counts;
  for (int i = 0; i < 6; ++i) {
    counts.push_back(needed(1, 24000, 48000));
    pull(1, 24000, 48000);
  }
  EXPECT_EQ(counts, (std::vector<std::uint32_t>{2, 0, 1, 0, 1, 0}));
}

// Interpolation keeps a line a line wherever it counts its distance from. Small pulls going up begin before the
// history now and then, with no input at all; the line must go on there.
TEST_F(Sampler, SmallPullsAreContinuous) {
  for (double rate_in : {46000.0, 47999.0, 24000.0, 4800.0, 40000.0}) {
    for (std::uint32_t block : {1u, 2u, 3u}) {
      const double step = rate_in / 48000;
      restart(ramp(1000));
      Samples out;
      while (out.size() < 900) {
        for (float sample : pull(block, rate_in, 48000)) out.push_back(sample);
      }
      for (std::size_t i = 300; i < 900; ++i) {  // after the filter has settled
        ASSERT_NEAR(out[i] - out[i - 1], step, 2e-3) << rate_in << " " << block << " " << i;
      }
    }
  }
}

TEST_F(Sampler, AChangeOfRatesIsContinuous) {
  const double rates[] = {96000, 47900, 48000, 95000, 30000, 47000, 200000};
  restart(ramp(20000));
  float last = 0.0f;
  pull(7, 48000, 48000);  // past the step from silence to the line
  for (std::size_t round = 0; round < 60; ++round) {
    const double rate = rates[round % std::size(rates)];
    const Samples out = pull(7, rate, 48000);
    if (rate < 0.95 * 48000) continue;  // filtered: the delay of the filter is another matter
    if (round > 0 && rates[(round - 1) % std::size(rates)] >= 0.95 * 48000) {
      EXPECT_LT(std::abs(out[0] - last), 5.0f) << round;
    }
    for (std::size_t i = 1; i < 7; ++i) ASSERT_NEAR(out[i] - out[i - 1], rate / 48000, 1e-2) << round << " " << i;
    last = out[6];
  }
}

// From left to right the sum comes to 1279 frames; (rate_out / rate_in) * frames_in - frames_out, rounded first, would
// move one frame here.
TEST_F(Sampler, TheFractionIsSummedFromLeftToRight) {
  pull(256, 44100, 8820);
  EXPECT_EQ(needed(256, 44100, 8820), 1279u);
}

// Two such blocks leave a fraction of exactly 0; equal rates then put the last position one past the source.
TEST_F(Sampler, NeverReadsPastTheSource) {
  restart(ramp(2000));
  pull(512, 8000, 24000);
  pull(512, 8000, 24000);
  ASSERT_EQ(sampler->fraction, 0.0);
  const Samples before = pull(64, 48000, 48000);
  const Samples after = pull(64, 48000, 48000);
  for (std::size_t i = 1; i < 64; ++i) EXPECT_NEAR(before[i] - before[i - 1], 1.0f, 1e-3) << i;
  EXPECT_NEAR(after[0] - before[63], 1.0f, 1e-3);
}

TEST_F(Sampler, TheFilterBeginsBelowTheSinglePrecisionValueOf095) {
  struct {
    double step;
    float cutoff;
  } cases[] = {{0.95, 0.0f},  // exactly 0.95 lies above 0.95f
               {static_cast<double>(0.95f), 0.0f},
               {0.94999999, 0.0f},
               {std::nextafter(static_cast<double>(0.95f), 0.0), 0.475f},
               {0.949, 0.4745f},
               {0.9, 0.45f}};
  for (const auto &c : cases) {
    restart(ramp(100));
    pull(20, c.step, 1.0);
    EXPECT_EQ(sampler->cutoff, c.cutoff) << c.step;
  }
}

TEST_F(Sampler, WithoutOutputTheFilterIsNotTouched) {
  sampler->fraction = 0.0;  // so that one input frame gives none
  EXPECT_EQ(push(1, 0.94, 1.0).size(), 0u);
  EXPECT_EQ(sampler->cutoff, 0.0f);
}

TEST_F(Sampler, ResetForgetsTheAudioAndKeepsTheCoefficients) {
  const Samples signal = testing::noise(200, 1);
  restart(signal);
  const Samples first = pull(100, 44100, 88200);
  const float b0 = sampler->coefficients.b0;
  ausampler_reset(sampler.get());
  EXPECT_EQ(sampler->fraction, 1.0);
  EXPECT_EQ(sampler->cutoff, 0.0f);
  EXPECT_EQ(sampler->coefficients.b0, b0);
  restart(signal);
  EXPECT_EQ(pull(100, 44100, 88200), first);
}

// What audio cares for: level and delay of a tone, at rates without a filter, at several pairs of rates.
TEST_F(Sampler, KeepsATonesLevelAndDelaysItByTwoInputFrames) {
  struct {
    double in, out, hz, tolerance;
  } cases[] = {{48000, 48010, 1000, 1e-4}, {48000, 47900, 1000, 1e-4}, {44100, 44100.5, 5000, 2e-2},
               {96000, 44100, 1000, 1e-4}, {48000, 8000, 300, 1e-4},   {44100, 46000, 2000, 1e-3}};
  for (const auto &c : cases) {
    restart(testing::sine(20000, c.in, c.hz, 1.0));
    const Samples out = pull(2000, c.in, c.out);
    for (std::size_t i = 10; i < out.size(); ++i) {
      const double source_frame = static_cast<double>(i) * c.in / c.out - 2.0;
      const double expected = std::sin(2 * std::numbers::pi * c.hz * source_frame / c.in);
      ASSERT_NEAR(out[i], expected, c.tolerance) << c.in << " to " << c.out << " at " << i;
    }
  }
}

TEST_F(Sampler, GoingUpTheImageOfATonIsWeakened) {
  const auto energy_at = [](const Samples &signal, double fraction_of_rate) {
    double re = 0, im = 0;
    for (std::size_t i = 1000; i < signal.size(); ++i) {
      const double angle = 2 * std::numbers::pi * fraction_of_rate * static_cast<double>(i);
      re += signal[i] * std::cos(angle);
      im += signal[i] * std::sin(angle);
    }
    return std::hypot(re, im);
  };
  restart(testing::sine(20000, 24000, 6000, 1.0));
  const Samples out = pull(9000, 24000, 48000);
  EXPECT_LT(energy_at(out, 18000.0 / 48000), 0.1 * energy_at(out, 6000.0 / 48000));
}

}  // namespace
}  // namespace auspool
