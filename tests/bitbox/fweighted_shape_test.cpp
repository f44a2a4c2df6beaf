#include "bitbox/fweighted_shape.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <numbers>
#include <vector>

#include "bitbox/minimum_phase_impulse.h"
#include "bitbox/shape_tables.h"

namespace auspool {
namespace {

using Taps = std::vector<double>;

Taps filter_at(double rate) {
  std::unique_ptr<float[]> taps;
  const std::int32_t count = create_fweighted_shape_filter(rate, taps);
  return taps ? Taps(taps.get(), taps.get() + count) : Taps();
}

std::complex<double> response(const Taps &taps, double angle) {
  std::complex<double> sum = 1;
  for (std::size_t k = 0; k < taps.size(); ++k) sum -= taps[k] * std::polar(1.0, -angle * static_cast<double>(k + 1));
  return sum;
}

TEST(ShapeTables, OpenWithTheTapsThatDefineThem) {
  const auto opens = [](const float *taps, const std::vector<float> &expected) {
    return std::equal(expected.begin(), expected.end(), taps);
  };
  EXPECT_TRUE(opens(fweighted_shape_coeffs[0].taps, {2.39151f, -3.28444f, 3.67951f, -3.63504f, 2.52418f, -1.1467f}));
  EXPECT_TRUE(opens(flat_floor_low_coeffs, {0.90868f, -0.99152f, 0.84997f}));
  EXPECT_TRUE(opens(flat_floor_med_coeffs, {1.22172f, -1.51588f, 1.49728f}));
  EXPECT_TRUE(opens(flat_floor_high_coeffs, {1.6268f, -2.33413f, 2.67536f}));
}

TEST(ShapeTables, HaveElevenRatesAndTheirCounts) {
  const std::pair<std::uint32_t, std::int32_t> rows[] = {{44100, 24},  {48000, 24},  {64000, 24},  {88200, 32},
                                                         {96000, 32},  {128000, 32}, {176400, 32}, {192000, 32},
                                                         {256000, 40}, {352800, 40}, {384000, 40}};
  ASSERT_EQ(std::size(rows), kFweightedShapes);
  for (std::size_t i = 0; i < kFweightedShapes; ++i) {
    EXPECT_EQ(fweighted_shape_coeffs[i].rate, rows[i].first);
    EXPECT_EQ(fweighted_shape_coeffs[i].count, rows[i].second);
  }
}

// Step-down recursion: a monic polynomial has all zeros inside the unit circle if all its reflections are below 1.
bool is_minimum_phase(const float *taps, std::size_t count) {
  std::vector<double> a = {1};
  for (std::size_t i = 0; i < count; ++i) a.push_back(-static_cast<double>(taps[i]));
  for (std::size_t m = count; m > 0; --m) {
    const double k = a[m];
    if (std::abs(k) >= 1) return false;
    const std::vector<double> before = a;
    for (std::size_t i = 0; i < m; ++i) a[i] = (before[i] - k * before[m - i]) / (1 - k * k);
  }
  return true;
}

TEST(ShapeTables, AreOfMinimumPhase) {
  for (const FweightedShape &shape : fweighted_shape_coeffs) {
    EXPECT_TRUE(is_minimum_phase(shape.taps, static_cast<std::size_t>(shape.count))) << shape.rate;
  }
  for (const float *taps : {flat_floor_low_coeffs, flat_floor_med_coeffs, flat_floor_high_coeffs}) {
    EXPECT_TRUE(is_minimum_phase(taps, kFlatFloorTaps));
  }
}

TEST(FweightedShape, TakesTheTableAtItsRatesAndNoOther) {
  for (const FweightedShape &shape : fweighted_shape_coeffs) {
    EXPECT_EQ(filter_at(shape.rate), Taps(shape.taps, shape.taps + shape.count));
  }
  EXPECT_NE(filter_at(44100.7), filter_at(44100));
}

TEST(FweightedShape, GrowsWithTheRate) {
  const std::pair<double, std::size_t> cases[] = {{44100.5, 24}, {50000, 24},  {88199, 24},  {88201, 32},
                                                  {100000, 32},  {255999, 32}, {256001, 40}, {768000, 40}};
  for (const auto &[rate, count] : cases) EXPECT_EQ(filter_at(rate).size(), count) << rate;
}

TEST(FweightedShape, HasNoFilterBelow44100) {
  for (const double rate : {44099.999, 32000.0, 0.0, -1.0, std::nan("")}) EXPECT_TRUE(filter_at(rate).empty()) << rate;
}

TEST(FweightedShape, StaysFiniteAtRatesThatNothingHas) {
  for (const double rate : {1e7, 2e8, 1e12, std::numeric_limits<double>::infinity()}) {
    for (const double tap : filter_at(rate)) EXPECT_TRUE(std::isfinite(tap)) << rate;
  }
}

TEST(FreqzAbs, KeepsTheSignOfItsEndsAndDividesByThePoints) {
  float coefficients[kResponseCoefficients] = {1, -3, 0.5f};
  float magnitudes[5];
  freqz_abs(coefficients, magnitudes, 5);
  EXPECT_FLOAT_EQ(magnitudes[0], -1.5f);
  EXPECT_FLOAT_EQ(magnitudes[4], 4.5f);
  for (int i = 1; i < 4; ++i) {
    const double angle = std::numbers::pi * i / 5;
    const auto sum = 1.0 - 3.0 * std::polar(1.0, -angle) + 0.5 * std::polar(1.0, -2 * angle);
    EXPECT_NEAR(magnitudes[i], std::abs(sum), 1e-6);
  }
}

TEST(FreqzAbs, TakesAllTwentyFiveCoefficients) {
  float coefficients[kResponseCoefficients] = {};
  coefficients[24] = 2;
  float magnitudes[3];
  freqz_abs(coefficients, magnitudes, 3);
  for (const float magnitude : magnitudes) EXPECT_NEAR(magnitude, 2, 1e-6);
}

TEST(MinimumPhaseImpulse, HasTheGivenMagnitudes) {
  const auto wanted = [](double angle) { return 1.5 + std::cos(angle) + 0.3 * std::cos(5 * angle); };
  std::vector<float> values(kMagnitudes);
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = static_cast<float>(wanted(std::numbers::pi * static_cast<double>(i) / (kMagnitudes - 1)));
  }
  minimum_phase_impulse(values.data(), kMagnitudes);
  for (const double angle : {0.0, 0.1, 1.0, 2.0, 3.0, std::numbers::pi}) {
    std::complex<double> sum = 0;
    for (std::size_t n = 0; n < values.size(); ++n) {
      sum += static_cast<double>(values[n]) * std::polar(1.0, -angle * static_cast<double>(n));
    }
    EXPECT_NEAR(std::abs(sum), wanted(angle), 1e-5) << angle;
  }
}

TEST(MinimumPhaseImpulse, OfAFilterOfMinimumPhaseIsThatFilter) {
  // (1 - 0.5 z^-1)(1 + 0.25 z^-1)
  const float filter[] = {1, -0.25f, -0.125f};
  std::vector<float> values;
  for (int i = 0; i < kMagnitudes; ++i) {
    std::complex<double> sum = 0;
    for (int n = 0; n < 3; ++n)
      sum += static_cast<double>(filter[n]) * std::polar(1.0, -std::numbers::pi * i * n / 2048);
    values.push_back(static_cast<float>(std::abs(sum)));
  }
  minimum_phase_impulse(values.data(), 6);
  for (int n = 0; n < 6; ++n) EXPECT_NEAR(values[static_cast<std::size_t>(n)], n < 3 ? filter[n] : 0, 1e-6) << n;
}

// The rules of the design, one after another, with the impulse response found from the cepstrum by its recursion.
Taps model_filter(double rate) {
  const FweightedShape &table = fweighted_shape_coeffs[0];
  const Taps reference(table.taps, table.taps + table.count);
  const long m = std::lrint(44100 / rate * 2049);
  std::vector<double> db;
  for (long i = 0; i < m; ++i) {
    const double angle =
        i == m - 1 ? std::numbers::pi : std::numbers::pi * static_cast<double>(i) / static_cast<double>(m);
    db.push_back(20 * std::log10(std::abs(response(reference, angle))));
  }
  db.resize(2049, db.back());
  const long p = std::min_element(db.begin(), db.end()) - db.begin();
  const double lowest = db[static_cast<std::size_t>(p)];
  const long k = std::min(std::lrint(98352000 / rate), 2049L);
  std::vector<double> target(2049, 0.0);
  for (long i = 0; i <= std::min(k, 2048L); ++i) {
    const double along = i <= p ? 0 : static_cast<double>(i - p) / static_cast<double>(k - p);
    target[static_cast<std::size_t>(i)] = lowest - lowest * along * along;
  }
  for (int round = 0; round < 8191; ++round) {
    double mean = 0;
    for (const double value : db) mean += value / 2049;
    if (mean <= 0.5) break;
    for (std::size_t i = 0; i < db.size(); ++i) db[i] = 0.9 * db[i] + 0.10000002384185791 * target[i];
  }
  const double highest = *std::max_element(db.begin(), db.end());
  const int count = rate < 88200 ? 24 : rate < 256000 ? 32 : 40;
  std::vector<double> cepstrum, h;
  for (int n = 0; n <= count; ++n) {
    double sum = 0;
    for (int i = 0; i <= 2048; ++i) {
      const double log = std::max(db[static_cast<std::size_t>(i)], highest - 100) / 20 * std::log(10.0);
      sum += (i == 0 || i == 2048 ? 1 : 2) * log * std::cos(std::numbers::pi * i * n / 2048) / 4096;
    }
    cepstrum.push_back(n == 0 ? sum : 2 * sum);
    h.push_back(n == 0 ? std::exp(sum) : 0);
    for (int i = 1; i <= n; ++i) {
      h.back() +=
          static_cast<double>(i) / n * cepstrum[static_cast<std::size_t>(i)] * h[static_cast<std::size_t>(n - i)];
    }
  }
  Taps taps;
  for (int i = 0; i < count; ++i) {
    const double window = 0.5 - 0.5 * std::cos((i + count + 1) * std::numbers::pi / (count + 1));
    taps.push_back(-h[static_cast<std::size_t>(i + 1)] * window / h[0]);
  }
  return taps;
}

TEST(FweightedShape, FollowsTheRulesOfItsDesign) {
  for (const double rate : {44100.7, 44120.0, 47999.0, 50000.0, 88199.0, 100000.0, 255000.0, 300000.0, 705600.0}) {
    const Taps taps = filter_at(rate);
    const Taps expected = model_filter(rate);
    ASSERT_EQ(taps.size(), expected.size());
    for (std::size_t i = 0; i < taps.size(); ++i) EXPECT_NEAR(taps[i], expected[i], 1e-4) << rate << ", tap " << i;
  }
}

TEST(FweightedShape, OfAnyRateLowersTheNoiseAtThreeKilohertz) {
  for (const double rate : {44200.0, 50000.0, 70000.0, 100000.0, 200000.0, 384001.0}) {
    EXPECT_LT(std::abs(response(filter_at(rate), 2 * std::numbers::pi * 3000 / rate)), 0.15) << rate;
  }
}

}  // namespace
}  // namespace auspool
