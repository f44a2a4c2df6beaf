// The noise of each dither, measured from the running quantiser.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <string>

#include "dither_spectra/spectrum.h"

namespace auspool {
namespace {

using Dither = std::unique_ptr<bitbox_dither, void (*)(bitbox_dither *)>;

Dither make(std::uint32_t type, float rate) {
  return {bitbox_dither_create(16, 1, type, nullptr, rate), bitbox_dither_destroy};
}

constexpr std::size_t kSegments = 300;

// Rounding with triangular noise errs by a quarter of a squared code in all: a twelfth, and twice that of the noise.
void expect_design(const Dither &dither, const std::string &name) {
  const auto power = power_spectrum(added_noise(*dither, kSegment * kSegments / 2));
  double measured = 0, designed = 0;
  for (std::size_t bin = 8; bin < kSegment / 2; ++bin) {
    const double expected = 0.25 * designed_power(*dither, 2 * std::numbers::pi * static_cast<double>(bin) / kSegment);
    // Half-overlapped segments leave a spread of about 7 percent: a tone would stand out.
    EXPECT_LT(10 * std::log10(power[bin] / expected), 2.0) << name << ", bin " << bin;
    measured += power[bin];
    designed += expected;
    if (bin % 64 == 63) {
      EXPECT_NEAR(10 * std::log10(measured / designed), 0, 0.5) << name << ", up to bin " << bin;
      measured = designed = 0;
    }
  }
}

constexpr float kRates[] = {44100, 48000, 64000, 88200, 96000, 128000, 176400, 192000, 256000, 352800, 384000};

TEST(ShapedNoise, OfTheTablesIsAsDesigned) {
  for (const float rate : kRates) {
    expect_design(make(BITBOX_DITHER_F_WEIGHTED, rate), "fwgt " + std::to_string(rate));
    expect_design(make(BITBOX_DITHER_SIMPLE, rate), "simp " + std::to_string(rate));
  }
}

TEST(ShapedNoise, OfFlatFloorsAndPolesIsAsDesigned) {
  expect_design(make(BITBOX_DITHER_FLAT_LOW, 44100), "ff-4");
  expect_design(make(BITBOX_DITHER_FLAT_MED, 44100), "ff-6");
  expect_design(make(BITBOX_DITHER_FLAT_HIGH, 44100), "ff-8");
  expect_design(make(BITBOX_DITHER_POLES, 44100), "ff_f");
  expect_design(make(BITBOX_DITHER_POLES, 96000), "ff_f at 96000");
}

TEST(ShapedNoise, OfADesignedRateIsAsDesigned) {
  for (const float rate : {50000.0f, 100000.0f, 300000.0f}) {
    expect_design(make(BITBOX_DITHER_F_WEIGHTED, rate), "fwgt " + std::to_string(rate));
    expect_design(make(BITBOX_DITHER_SIMPLE, rate), "simp " + std::to_string(rate));
  }
}

TEST(ShapedNoise, WithoutAFilterIsWhite) {
  expect_design(make(BITBOX_DITHER_TPDF, 44100), "tpdf");
}

TEST(ShapedNoise, TakesNoMoreThanItsTypeAndRateSay) {
  EXPECT_EQ(make(BITBOX_DITHER_F_WEIGHTED, 44100)->order, 24);
  EXPECT_EQ(make(BITBOX_DITHER_F_WEIGHTED, 50000)->order, 24);
  EXPECT_EQ(make(BITBOX_DITHER_F_WEIGHTED, 384000)->order, 40);
  EXPECT_EQ(make(BITBOX_DITHER_FLAT_HIGH, 100000)->order, 40);
  for (const std::uint32_t type :
       {BITBOX_DITHER_F_WEIGHTED, BITBOX_DITHER_FLAT_LOW, BITBOX_DITHER_FLAT_MED, BITBOX_DITHER_FLAT_HIGH}) {
    EXPECT_EQ(make(type, 44099.9f), nullptr);
    EXPECT_EQ(make(type, 44100)->poles, nullptr);
  }
}

}  // namespace
}  // namespace auspool
