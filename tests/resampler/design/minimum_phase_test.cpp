#include <gtest/gtest.h>

#include <numeric>

#include "auspool/filter_design.h"
#include "support/responses.h"

namespace auspool::testing {
namespace {

struct Design {
  std::int32_t length;
  double cutoff, beta;
};

Design design(double pass, double stop, double attenuation) {
  Design found = {};
  const double ripple = std::pow(10.0, -attenuation / 20);
  found.length = static_cast<std::int32_t>(kaiser_estimate(&found.beta, &found.cutoff, pass, stop, ripple, ripple) | 1);
  return found;
}

std::vector<double> filter(const Design &d, bool minimum_phase, std::int32_t *peak = nullptr) {
  return taken(create_lp_filter(d.length, AU_WINDOW_KAISER, minimum_phase, peak, 1.0, d.cutoff, d.beta),
               static_cast<std::size_t>(d.length));
}

double decibels(double amplitude) {
  return 20 * std::log10(amplitude);
}

// The transform is the smallest that holds twice the taps, and the cepstrum aliases into it: that costs some decibels.
TEST(MinimumPhase, KeepsTheMagnitudesAsWellAsItsTransformAllows) {
  const Design d = design(0.425, 0.5, 60);
  const auto linear = filter(d, false), minimum = filter(d, true);
  EXPECT_NEAR(decibels(departure(linear, 0.5, 1.0, 0.0)), -59.4, 0.1);
  EXPECT_NEAR(decibels(departure(minimum, 0.5, 1.0, 0.0)), -54.7, 0.1);
  EXPECT_NEAR(departure(minimum, 0.0, 0.425, 1.0), 4.2e-3, 1e-4);
}

TEST(MinimumPhase, BringsTheEnergyFirst) {
  for (const Design &d : {design(0.425, 0.5, 60), design(0.1, 0.12, 100)}) {
    const auto linear = filter(d, false), minimum = filter(d, true);
    double in_linear = 0, in_minimum = 0;
    for (std::size_t i = 0; i < linear.size() / 2; ++i) {
      in_linear += linear[i] * linear[i];
      in_minimum += minimum[i] * minimum[i];
      EXPECT_GT(in_minimum, in_linear) << i;
    }
    const double all = std::inner_product(minimum.begin(), minimum.end(), minimum.begin(), 0.0);
    EXPECT_GT(in_minimum / all, 0.9);
  }
}

// The same by the textbook, with plain sums for the transforms.
TEST(MinimumPhase, IsTheExponentialOfTheFoldedCepstrum) {
  using Complex = std::complex<double>;
  const Design d = {21, 0.5, 4.0};
  constexpr std::size_t kPoints = 64;  // the smallest power of two that holds 2 * 21
  const auto transform = [](const std::vector<Complex> &in, double sign) {
    std::vector<Complex> out(kPoints);
    for (std::size_t k = 0; k < kPoints; ++k) {
      for (std::size_t i = 0; i < in.size(); ++i) {
        const double turn = 2 * std::numbers::pi * static_cast<double>(i * k % kPoints) / kPoints;
        out[k] += in[i] * std::polar(1.0, sign * turn);
      }
    }
    return out;
  };
  const auto linear = filter(d, false), minimum = filter(d, true);
  auto spectrum = transform({linear.begin(), linear.end()}, -1);
  for (Complex &bin : spectrum) bin = std::log(std::abs(bin));
  auto cepstrum = transform(spectrum, 1);
  for (std::size_t i = 0; i < kPoints; ++i) {
    cepstrum[i] *= (i == 0 || i == kPoints / 2 ? 1.0 : i < kPoints / 2 ? 2.0 : 0.0) / kPoints;
  }
  auto folded = transform(cepstrum, -1);
  for (Complex &bin : folded) bin = std::exp(bin) / static_cast<double>(kPoints);
  const auto expected = transform(folded, 1);
  // The logarithm at Nyquist is taken in single precision.
  for (std::size_t i = 0; i < minimum.size(); ++i) EXPECT_NEAR(minimum[i], expected[i].real(), 1e-7) << i;
}

TEST(MinimumPhase, OfAnEvenLengthEndsInAZero) {
  const Design odd = {97, 0.4625, 5.65326}, even = {98, 0.4625, 5.65326};
  const auto expected = filter(odd, true), taps = filter(even, true);
  ASSERT_EQ(taps.size(), 98u);
  EXPECT_EQ(taps.back(), 0.0);
  EXPECT_TRUE(std::equal(expected.begin(), expected.end(), taps.begin()));
}

TEST(MinimumPhase, TellsTheFirstPeak) {
  for (const Design &d : {design(0.425, 0.5, 60), design(0.1, 0.12, 100), Design{98, 0.4625, 5.65326}}) {
    std::int32_t peak = -1;
    const auto taps = filter(d, true, &peak);
    ASSERT_GE(peak, 0);
    const auto at = [&](std::int32_t i) { return std::abs(taps[static_cast<std::size_t>(i)]); };
    for (std::int32_t i = 0; i < peak; ++i) EXPECT_LE(at(i), at(i + 1));
    EXPECT_GT(at(peak), at(peak + 1));
  }
  EXPECT_EQ(taken(create_lp_filter(3, 9, 1, nullptr, 1.0, 0.5, 0), 3).size(), 3u) << "nobody need ask for it";
}

// Magnitudes that never fall would lead the search beyond the taps.
TEST(MinimumPhase, TheSearchForThePeakEndsWithTheTaps) {
  std::int32_t peak = -1;
  const auto none = taken(create_lp_filter(4, AU_WINDOW_KAISER, 1, &peak, 0.0, 0.5, 5.0), 4);
  ASSERT_EQ(none.size(), 4u);
  EXPECT_LE(peak, 3);
  for (const double tap : none) EXPECT_TRUE(std::isfinite(tap));
}

TEST(MinimumPhase, OfASingleTapIsThatTap) {
  std::int32_t peak = -1;
  const auto taps = taken(create_lp_filter(1, 9, 1, &peak, 1.0, 0.5, 0), 1);
  ASSERT_EQ(taps.size(), 1u);
  EXPECT_NEAR(taps[0], 0.5, 1e-7);
  EXPECT_EQ(peak, 0);
}

// Long filters have bins of exactly 0, which have no logarithm.
TEST(MinimumPhase, SurvivesBinsOfZero) {
  const auto zero = taken(create_lp_filter(33, AU_WINDOW_KAISER, 1, nullptr, 1.0, 0.0, 5.0), 33);
  ASSERT_EQ(zero.size(), 33u);
  for (const double tap : zero) ASSERT_TRUE(std::isfinite(tap));
  const auto taps = filter({21405, 0.49875, 21.0813}, true);
  for (const double tap : taps) ASSERT_TRUE(std::isfinite(tap));
  EXPECT_NEAR(std::accumulate(taps.begin(), taps.end(), 0.0), 1.0, 0.01);
}

}  // namespace
}  // namespace auspool::testing
