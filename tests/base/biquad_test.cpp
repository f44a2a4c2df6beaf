#include "base/biquad.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <vector>

#include "support/signals.h"

namespace auspool {
namespace {

using Double = std::complex<double>;

double gain_at(const BiquadCoefficients &c, double fraction_of_rate) {
  const Double z = std::polar(1.0, -2.0 * std::numbers::pi * fraction_of_rate);
  const Double above = double{c.b0} + double{c.b1} * z + double{c.b2} * z * z;
  const Double below = 1.0 + double{c.a1} * z + double{c.a2} * z * z;
  return std::abs(above / below);
}

TEST(LowPassBiquad, PassesDcAndStopsTheNyquistFrequency) {
  for (float cutoff : {0.01f, 0.125f, 0.25f, 0.45f}) {
    const BiquadCoefficients c = low_pass_biquad(cutoff);
    EXPECT_NEAR(gain_at(c, 0.0), 1.0, 1e-3) << cutoff;
    EXPECT_NEAR(gain_at(c, 0.5), 0.0, 1e-5) << cutoff;
  }
}

TEST(LowPassBiquad, HasAGainOfQAtItsCutoff) {
  for (float cutoff : {0.05f, 0.125f, 0.25f, 0.45f}) {
    EXPECT_NEAR(gain_at(low_pass_biquad(cutoff), double{cutoff}), 0.8, 1e-4) << cutoff;
  }
}

TEST(LowPassBiquad, ItsOuterCoefficientsAreTheSame) {
  const BiquadCoefficients c = low_pass_biquad(0.3f);
  EXPECT_EQ(c.b0, c.b2);
}

// The difference equation, in double precision.
std::vector<double> filtered(const BiquadCoefficients &c, const std::vector<float> &x) {
  std::vector<double> y(x.size());
  const auto in = [&](std::size_t n, std::size_t ago) { return n < ago ? 0.0 : double{x[n - ago]}; };
  const auto out = [&](std::size_t n, std::size_t ago) { return n < ago ? 0.0 : y[n - ago]; };
  for (std::size_t n = 0; n < x.size(); ++n) {
    y[n] = double{c.b0} * (in(n, 0) + in(n, 2)) + double{c.b1} * in(n, 1) - double{c.a1} * out(n, 1) -
           double{c.a2} * out(n, 2);
  }
  return y;
}

TEST(FilterInPlace, FollowsTheDifferenceEquation) {
  const BiquadCoefficients c = low_pass_biquad(0.2f);
  std::vector<float> samples = testing::noise(500, 1);
  const std::vector<double> expected = filtered(c, samples);
  BiquadState state;
  filter_in_place(c, state, samples.data(), samples.size(), 1);
  for (std::size_t i = 0; i < samples.size(); ++i) ASSERT_NEAR(samples[i], expected[i], 1e-5) << i;
}

TEST(FilterInPlace, GoesOnWhereTheLastBlockEnded) {
  const BiquadCoefficients c = low_pass_biquad(0.2f);
  const std::vector<float> input = testing::noise(100, 2);
  std::vector<float> whole = input, split = input;
  BiquadState one, many;
  filter_in_place(c, one, whole.data(), whole.size(), 1);
  for (std::size_t at = 0, block = 0; at < split.size(); at += block, ++block) {
    filter_in_place(c, many, split.data() + at, std::min(block, split.size() - at), 1);
  }
  EXPECT_EQ(whole, split);
}

TEST(FilterInPlace, KeepsTheStateInNewestFirstOrder) {
  BiquadState state;
  float samples[] = {1.0f, 2.0f, 3.0f};
  filter_in_place(BiquadCoefficients{2.0f, 0.0f, 0.0f, 0.0f, 0.0f}, state, samples, 3, 1);
  EXPECT_EQ(state.x1, 3.0f);
  EXPECT_EQ(state.x2, 2.0f);
  EXPECT_EQ(state.y1, 8.0f);  // 2 * (3 + 1)
  EXPECT_EQ(state.y2, 4.0f);
}

TEST(FilterInPlace, OneSampleMovesTheNewerStateToTheOlder) {
  BiquadState state;
  state.x1 = 5.0f;
  state.y1 = 7.0f;
  float sample = 1.0f;
  filter_in_place(low_pass_biquad(0.1f), state, &sample, 1, 1);
  EXPECT_EQ(state.x2, 5.0f);
  EXPECT_EQ(state.y2, 7.0f);
  EXPECT_EQ(state.x1, 1.0f);
}

TEST(FilterInPlace, RecoversFromWhatIsNotANumber) {
  const BiquadCoefficients c = low_pass_biquad(0.2f);
  for (float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    for (std::size_t at : {0u, 48u, 49u}) {
      std::vector<float> samples = testing::noise(50, 3);
      samples[at] = bad;
      BiquadState state;
      filter_in_place(c, state, samples.data(), samples.size(), 1);
      filter_in_place(c, state, samples.data(), 0, 1);
      std::vector<float> next = testing::noise(50, 4), alone = next;
      BiquadState fresh;
      filter_in_place(c, state, next.data(), next.size(), 1);
      filter_in_place(c, fresh, alone.data(), alone.size(), 1);
      EXPECT_EQ(next, alone) << at;
    }
  }
}

TEST(FilterInPlace, APairIsFilteredAsEachChannelIsAlone) {
  const BiquadCoefficients c = low_pass_biquad(0.2f);
  for (std::size_t count : {0u, 1u, 2u, 50u}) {
    std::vector<float> left = testing::noise(50, 3), right = testing::noise(50, 4);
    std::vector<float> both = testing::interleave(left, right);
    BiquadState l = {0.1f, 0.2f, 0.3f, 0.4f}, r = {0.5f, 0.6f, 0.7f, 0.8f}, pair_l = l, pair_r = r;
    filter_in_place(c, l, left.data(), count, 1);
    filter_in_place(c, r, right.data(), count, 1);
    filter_pair_in_place(c, pair_l, pair_r, both.data(), both.data() + 1, count, 2);
    EXPECT_EQ(both, testing::interleave(left, right));
    EXPECT_EQ(pair_l.y2, l.y2);
    EXPECT_EQ(pair_r.y2, r.y2);
  }
}

TEST(FilterInPlace, OneBadChannelOfAPairRecoversAlone) {
  const BiquadCoefficients c = low_pass_biquad(0.2f);
  std::vector<float> left(4, std::numeric_limits<float>::infinity()), right = testing::noise(4, 1);
  BiquadState l, r;
  filter_pair_in_place(c, l, r, left.data(), right.data(), 4, 1);
  EXPECT_EQ(l.y1, 0.0f);
  EXPECT_EQ(l.x1, 0.0f);
  EXPECT_EQ(r.x1, testing::noise(4, 1)[3]);
}

TEST(FilterInPlace, TouchesOnlyItsStride) {
  const BiquadCoefficients c = low_pass_biquad(0.2f);
  const std::vector<float> left = testing::noise(50, 3), right = testing::noise(50, 4);
  std::vector<float> both = testing::interleave(left, right), alone = left;
  BiquadState of_both, of_one;
  filter_in_place(c, of_both, both.data(), left.size(), 2);
  filter_in_place(c, of_one, alone.data(), alone.size(), 1);
  EXPECT_EQ(both, testing::interleave(alone, right));
}

}  // namespace
}  // namespace auspool
