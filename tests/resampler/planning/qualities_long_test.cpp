// All pairs of the usual rates at all qualities, and whole streams of every length.
#include <gtest/gtest.h>

#include "support/converter_quality.h"
#include "support/quality_limits.h"

using namespace auspool::testing;

namespace {

constexpr double kRates[] = {8000, 11025, 16000, 22050, 32000, 44100, 48000, 64000, 88200, 96000, 176400, 192000};

class AllRates : public ::testing::TestWithParam<std::int32_t> {};

}  // namespace

TEST_P(AllRates, ReachTheAttenuationAndStayFlat) {
  const std::int32_t quality = GetParam();
  ConverterQuality worst = {1e9, 1e9, 1e9, 0, 0};
  for (const double in : kRates) {
    for (const double out : kRates) {
      if (in == out) continue;
      const RatePair rates = {in, out};
      const ConverterQuality measured = measure_quality(rates, quality, flat_share(rates, quality));
      EXPECT_TRUE(is_within(measured, quality_limits(quality))) << rates << ": " << measured;
      worst = worst_of(worst, measured);
    }
  }
  std::cout << "quality " << quality << " at its worst: " << worst << '\n';
}

TEST_P(AllRates, HoldInSmallPartitionsToo) {
  const std::int32_t quality = GetParam();
  for (const double in : kRates) {
    for (const double out : kRates) {
      if (in == out) continue;
      const RatePair rates = {in, out};
      ConverterQuality measured =
          measure_quality(rates, quality | RAESAMPLER_FLAG_LOW_LATENCY, flat_share(rates, quality), 2000);
      measured.delay = 0;  // what a long filter delays beyond a block stays in
      EXPECT_TRUE(is_within(measured, quality_limits(quality))) << rates << ": " << measured;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Quality, AllRates, ::testing::Range(0, 5));
