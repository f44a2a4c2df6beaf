#include "bitbox/simple_shape.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace auspool {
namespace {

struct Row {
  double rate;
  float first, second;
};
constexpr Row kRows[] = {
    {44100, 1.5792102f, -0.8166979f},  {48000, 1.5979563f, -0.8032116f},  {64000, 1.6186513f, -0.7537428f},
    {88200, 1.5995380f, -0.7026008f},  {96000, 1.5922426f, -0.6913098f},  {128000, 1.5695951f, -0.6618792f},
    {176400, 1.5527647f, -0.6426589f}, {192000, 1.5495598f, -0.6392004f}, {256000, 1.5417415f, -0.6309603f},
    {352800, 1.5368057f, -0.6258844f}, {384000, 1.5373799f, -0.6264724f},
};

std::array<float, 2> taps_of(const Row &row) {
  return {row.first, row.second};
}

double decibels(const std::array<float, 2> &taps, double part_of_band) {
  const auto turn = std::polar(1.0, -std::numbers::pi * part_of_band);
  return 20 *
         std::log10(std::abs(1.0 - static_cast<double>(taps[0]) * turn - static_cast<double>(taps[1]) * turn * turn));
}

TEST(SimpleShape, OfATableRateIsTheTables) {
  for (const Row &row : kRows) EXPECT_EQ(simple_shape(row.rate), taps_of(row)) << row.rate;
}

TEST(SimpleShape, TruncatesTheRate) {
  EXPECT_EQ(simple_shape(44100.7), taps_of(kRows[0]));
  EXPECT_EQ(simple_shape(96000.99), taps_of(kRows[4]));
  EXPECT_NE(simple_shape(95999.99), taps_of(kRows[4]));
}

TEST(SimpleShape, BetweenTwoRatesShapesBetweenThem) {
  for (std::size_t i = 1; i < std::size(kRows); ++i) {
    const auto below = taps_of(kRows[i - 1]);
    const auto above = taps_of(kRows[i]);
    const auto between = simple_shape(std::sqrt(kRows[i - 1].rate * kRows[i].rate));
    for (const double x : {0.0, 0.02, 0.4, 0.7, 1.0}) {
      const auto [low, high] = std::minmax({decibels(below, x), decibels(above, x)});
      EXPECT_GE(decibels(between, x), low - 0.3) << kRows[i].rate << " at " << x;
      EXPECT_LE(decibels(between, x), high + 0.3) << kRows[i].rate << " at " << x;
    }
  }
}

TEST(SimpleShape, MeetsTheRowsOnBothSides) {
  for (std::size_t i = 1; i + 1 < std::size(kRows); ++i) {
    for (const double rate : {kRows[i].rate - 1, kRows[i].rate + 1}) {
      const auto taps = simple_shape(rate);
      EXPECT_NEAR(taps[0], kRows[i].first, 1e-4);
      EXPECT_NEAR(taps[1], kRows[i].second, 1e-4);
    }
  }
}

TEST(SimpleShape, AboveTheTableStaysAsItsLastRow) {
  for (const double rate : {384001.0, 768000.0, 1e12}) EXPECT_EQ(simple_shape(rate), taps_of(kRows[10]));
}

}  // namespace
}  // namespace auspool
