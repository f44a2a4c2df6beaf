#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "auspool/filter_design.h"

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kGain = 3.0;

std::vector<double> ones(std::int32_t length) {
  return std::vector<double>(static_cast<std::size_t>(length), 1.0);
}

// The middle tap of an odd length is the gain itself.
bool is_middle(std::int32_t i, std::int32_t length) {
  return length % 2 == 1 && i == length / 2;
}

// How far tap `i` is along a window of `length`, in turns.
double turns(std::int32_t i, std::int32_t length) {
  return static_cast<double>(i) / (length - 1);
}

TEST(Windows, HammingHasItsOwnCoefficients) {
  for (const std::int32_t length : {1, 2, 3, 4, 99, 100}) {
    auto taps = ones(length);
    apply_hamming_window_with_gain(taps.data(), length, kGain);
    for (std::int32_t i = 0; i < length; ++i) {
      const double window = is_middle(i, length) ? 1 : 0.5425 - 0.4575 * std::cos(2 * kPi * turns(i, length));
      EXPECT_NEAR(taps[static_cast<std::size_t>(i)], kGain * window, 1e-13) << length << " at " << i;
    }
  }
}

TEST(Windows, BlackmanEndsInExactZeroes) {
  for (const std::int32_t length : {2, 3, 4, 5, 99, 100}) {
    auto taps = ones(length);
    apply_blackman_window_with_gain(taps.data(), length, kGain);
    EXPECT_EQ(taps.front(), 0.0);
    EXPECT_EQ(taps.back(), 0.0);
    for (std::int32_t i = 1; i + 1 < length; ++i) {
      const double turn = 2 * kPi * turns(i, length);
      const double window = is_middle(i, length) ? 1 : 0.42 - 0.5 * std::cos(turn) + 0.08 * std::cos(2 * turn);
      EXPECT_NEAR(taps[static_cast<std::size_t>(i)], kGain * window, 1e-13) << length << " at " << i;
    }
  }
}

TEST(Windows, KaiserIsABesselFunctionOfTheCirclesHeight) {
  for (const double beta : {0.0, 5.0, 16.6733, 21.0813}) {
    for (const std::int32_t length : {1, 2, 3, 4, 99, 100}) {
      auto taps = ones(length);
      apply_kaiser_window_with_gain(taps.data(), length, beta, kGain);
      const double middle = (length - 1) / 2.0;
      for (std::int32_t i = 0; i < length; ++i) {
        const double across = length == 1 ? 0 : (i - middle) / middle;
        const double height = std::sqrt(std::max(0.0, 1 - across * across));
        const double window = std::cyl_bessel_i(0.0, beta * height) / std::cyl_bessel_i(0.0, beta);
        EXPECT_NEAR(taps[static_cast<std::size_t>(i)], kGain * window, 1e-10) << beta << ", " << length << " at " << i;
      }
    }
  }
}

// The series stops at 11 digits: more of them would give another filter.
TEST(Windows, KaiserStopsItsSeriesAtElevenDigits) {
  const auto bessel = [](double x) {
    double sum = 1, term = 1, k = 0;
    do {
      k += 2;
      sum += term *= x * x / (k * k);
    } while (term > sum * 1e-11);
    return sum;
  };
  constexpr std::int32_t kLength = 101;
  auto taps = ones(kLength);
  apply_kaiser_window_with_gain(taps.data(), kLength, 9.0, 1.0);
  for (std::int32_t i = 0; i < 50; ++i) {
    const double height = std::sqrt(std::max(0.0, 1 - (i - 50.0) * (i - 50.0) / 2500));
    EXPECT_NEAR(taps[static_cast<std::size_t>(i)], bessel(9.0 * height) / bessel(9.0), 1e-14) << i;
  }
}

// With fused multiplications the end of the circle falls below zero for half of all lengths.
TEST(Windows, KaiserHasEndsForEveryLength) {
  for (std::int32_t length = 1; length < 2000; ++length) {
    auto taps = ones(length);
    apply_kaiser_window_with_gain(taps.data(), length, 5.65326, 1.0);
    ASSERT_GT(taps.front(), 0.0) << length;
    ASSERT_EQ(taps.front(), taps.back()) << length;
  }
}

TEST(Windows, NoTapsAreLeftAlone) {
  for (const std::int32_t length : {0, -1}) {
    apply_hamming_window_with_gain(nullptr, length, 1.0);
    apply_blackman_window_with_gain(nullptr, length, 1.0);
    apply_kaiser_window_with_gain(nullptr, length, 5.0, 1.0);
  }
}

}  // namespace
