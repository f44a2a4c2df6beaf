#include "buffers/rational.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace auspool {
namespace {

constexpr std::int64_t k48 = std::int64_t{1} << 48;

TEST(Rational, WholeNumbersAndShortFractionsAreExact) {
  const struct {
    double value;
    std::int64_t num, den;
  } cases[] = {{44100, 44100, 1}, {44100.5, 88201, 2}, {0.75, 3, 4}, {1e9, 1000000000, 1}, {0, 0, 1}};
  for (const auto &c : cases) {
    const Rational r = rational_approximation(c.value, k48);
    EXPECT_EQ(r.num, c.num) << c.value;
    EXPECT_EQ(r.den, c.den) << c.value;
  }
}

TEST(Rational, ANegativeValueHasANegativeNumerator) {
  const Rational r = rational_approximation(-44100.5, k48);
  EXPECT_EQ(r.num, -88201);
  EXPECT_EQ(r.den, 2);
}

TEST(Rational, AValueThatNeedsMoreIsCutBelowTheBound) {
  for (const double value : {1.0 / 3, std::sqrt(2.0), 1 + 0x1p-52, 0.1, 48000.123}) {
    for (const std::int64_t bound : {k48, k48 >> 8, std::int64_t{1000}}) {
      const Rational r = rational_approximation(value, bound);
      EXPECT_LE(r.den, bound) << value;
      const double error = std::fabs(static_cast<double>(static_cast<long double>(r.num) / r.den - value));
      EXPECT_LE(error, std::fabs(value) * 0x1p-52 + 1.0 / static_cast<double>(bound)) << value;
    }
  }
}

TEST(Rational, ASemiConvergentMayMeetTheBoundItself) {
  const Rational r = rational_approximation(1 + 0x1p-49, k48);
  EXPECT_EQ(r.den, k48);
  EXPECT_EQ(r.num, k48 + 1);
}

TEST(Rational, ASemiConvergentFarFromTheValueIsNotTaken) {
  // 1 + 1 / 1000 with a bound of 400: of 1 and 401/400, neither reaches half way to the next convergent.
  const Rational r = rational_approximation(1.001, 400);
  EXPECT_EQ(r.num, 1);
  EXPECT_EQ(r.den, 1);
}

TEST(Rational, WhatIsNoRateGivesZero) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double value : {std::nan(""), infinity, -infinity, 1e300, 1e-300, 0x1.fffffffffffffp-12}) {
    const Rational r = rational_approximation(value, k48);
    EXPECT_EQ(r.num, 0) << value;
    EXPECT_EQ(r.den, 1) << value;
  }
}

}  // namespace
}  // namespace auspool
