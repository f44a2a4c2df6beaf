#include <gtest/gtest.h>

#include "auspool/filter_design.h"
#include "support/responses.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

TEST(KaiserEstimate, SixtyDecibels) {
  double beta = 0;
  double cutoff = 0;
  EXPECT_EQ(kaiser_estimate(&beta, &cutoff, 0.425, 0.5, 0.001, 0.001), 98U);
  EXPECT_NEAR(beta, 5.65326, 1e-12);
  EXPECT_NEAR(cutoff, 0.4625, 1e-15);
}

TEST(KaiserEstimate, TheSmallerRippleDecides) {
  double beta = 0;
  EXPECT_EQ(kaiser_estimate(&beta, nullptr, 0.425, 0.5, 0.001, 0.1), 98U);
  EXPECT_NEAR(beta, 5.65326, 1e-12);
  beta = 0;
  EXPECT_EQ(kaiser_estimate(&beta, nullptr, 0.425, 0.5, 0.1, 0.001), 98U);
  EXPECT_NEAR(beta, 5.65326, 1e-12);
}

TEST(KaiserEstimate, TheOrderOfTheEdgesDoesNotMatter) {
  double beta = 0;
  EXPECT_EQ(kaiser_estimate(&beta, nullptr, 0.5, 0.425, 0.001, 0.001), 98U);
}

TEST(KaiserEstimate, AnOddLengthBecomesTheNextEvenOneButOne) {
  double beta = 0;
  // 52.05 / (0.0745 * 7.1785...) is 97.3, so 98; with 0.0755 it is 96.04, so 97.
  EXPECT_EQ(kaiser_estimate(&beta, nullptr, 0.0, 0.0745, 0.001, 0.001), 100U);
  EXPECT_EQ(kaiser_estimate(&beta, nullptr, 0.0, 0.0755, 0.001, 0.001), 98U);
}

TEST(KaiserEstimate, HasNoLengthForEqualOrAlmostEqualEdges) {
  for (const double stop : {0.5, 0.5 + 1e-9}) {
    double beta = 77, cutoff = 78;
    const std::uint32_t length = kaiser_estimate(&beta, &cutoff, 0.5, stop, 0.001, 0.001);
    EXPECT_EQ(length, AU_NO_FILTER_LENGTH);
    EXPECT_EQ(static_cast<std::int32_t>(length | 1), -1);
    EXPECT_EQ(beta, 77);
    EXPECT_EQ(cutoff, 78);
  }
}

TEST(KaiserEstimate, RipplesThatNeedNoFilterGetTheShortest) {
  double beta = 0;
  EXPECT_EQ(kaiser_estimate(&beta, nullptr, 0.4, 0.5, 0.5, 0.5), 2U);
}

std::vector<double> low_pass(std::int32_t length, std::int32_t window, double gain, double cutoff, double beta = 0) {
  return taken(create_lp_filter(length, window, 0, nullptr, gain, cutoff, beta), static_cast<std::size_t>(length));
}

TEST(LowPass, PassesAndStopsWhatItsDesignAsksFor) {
  for (const double attenuation : {60.0, 100.0, 160.0}) {
    const double ripple = std::pow(10.0, -attenuation / 20);
    double beta = 0, cutoff = 0;
    const auto length = static_cast<std::int32_t>(kaiser_estimate(&beta, &cutoff, 0.425, 0.5, ripple, ripple) | 1);
    const auto taps = low_pass(length, AU_WINDOW_KAISER, 1.0, cutoff, beta);
    EXPECT_LT(departure(taps, 0.0, 0.425, 1.0), 1.2 * ripple) << attenuation;
    EXPECT_LT(departure(taps, 0.5, 1.0, 0.0), 1.2 * ripple) << attenuation;
    EXPECT_NEAR(magnitude(taps, cutoff), 0.5, 0.001);
  }
}

TEST(LowPass, IsTheIdealResponseAroundItsMiddle) {
  constexpr double kCutoff = 0.3;
  for (const std::int32_t length : {1, 2, 7, 8}) {
    const auto taps = low_pass(length, 9, 1.0, kCutoff);  // no window of that kind
    for (std::int32_t i = 0; i < length; ++i) {
      const double x = (i - (length - 1) / 2.0) * std::numbers::pi;
      const double ideal = x == 0 ? kCutoff : std::sin(x * kCutoff) / x;
      EXPECT_NEAR(taps[static_cast<std::size_t>(i)], ideal, 1e-15) << length << " at " << i;
    }
  }
}

TEST(LowPass, TheGainIsWhatTheWindowMakesOfIt) {
  for (const std::int32_t window : {AU_WINDOW_HAMMING, AU_WINDOW_BLACKMAN, AU_WINDOW_KAISER}) {
    const auto one = low_pass(99, window, 1.0, 0.4625, 5.65326), five = low_pass(99, window, 5.0, 0.4625, 5.65326);
    for (std::size_t i = 0; i < one.size(); ++i) EXPECT_NEAR(five[i], 5 * one[i], 1e-15);
    const double at_zero = magnitude(one, 0.0);
    EXPECT_NEAR(at_zero, 1.0, 0.003);
    EXPECT_NE(at_zero, 1.0) << "the taps are not normalised";
  }
  EXPECT_EQ(low_pass(9, 9, 5.0, 0.5)[4], 0.5) << "without a window there is no gain";
}

TEST(LowPass, TellsNoPeakWithoutMinimumPhase) {
  std::int32_t peak = 77;
  taken(create_lp_filter(9, AU_WINDOW_KAISER, 0, &peak, 1.0, 0.5, 5.0), 9);
  EXPECT_EQ(peak, 77);
}

TEST(LowPass, IsNullForNoTapsAndWithoutMemory) {
  EXPECT_EQ(create_lp_filter(0, AU_WINDOW_KAISER, 0, nullptr, 1.0, 0.5, 5.0), nullptr);
  EXPECT_EQ(create_lp_filter(-3, AU_WINDOW_KAISER, 1, nullptr, 1.0, 0.5, 5.0), nullptr);
  for (const std::int32_t minimum_phase : {0, 1}) {
    const int failed = fail_each_allocation([&] {
      double *taps = create_lp_filter(333, AU_WINDOW_KAISER, minimum_phase, nullptr, 1.0, 0.5, 5.0);
      std::free(taps);
      return taps != nullptr;
    });
    EXPECT_GE(failed, 1 + minimum_phase);
  }
}

}  // namespace
}  // namespace auspool::testing
