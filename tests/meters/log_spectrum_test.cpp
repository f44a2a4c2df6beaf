#include "meters/log_spectrum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numeric>
#include <vector>

#include "auspool/auspecmeter.h"
#include "meters/auspecmeter_record.h"
#include "support/hand_clock.h"

namespace auspool {
namespace {

using Levels = std::vector<float>;
using Meter = std::unique_ptr<auspecmeter, decltype(&auspecmeter_destroy)>;

// A meter that was updated just now, with levels from -70 decibels up by as many as there are bins.
Meter made_with_levels(std::int32_t width) {
  Meter meter(auspecmeter_create(width), auspecmeter_destroy);
  Levels levels;
  while (levels.size() < meter->levels.size()) {
    levels.push_back(static_cast<float>(-70 + 60 * std::fmod(0.618 * static_cast<double>(levels.size()), 1.0)));
  }
  meter->levels.store(levels.data());
  meter->last_time = 1.5e9;
  meter->update_count = 7;
  return meter;
}

Levels read_decibels(auspecmeter *meter) {
  Levels decibels(meter->levels.size());
  auspecmeter_get_spectrum_decibels(meter, decibels.data());
  return decibels;
}

TEST(Average, IsOverBothEnds) {
  const float values[] = {1, 2, 4, 9};
  EXPECT_EQ(compute_average(values, 0, 3), 4.0f);
  EXPECT_EQ(compute_average(values, 1, 2), 3.0f);
  EXPECT_EQ(compute_average(values, 2, 2), 4.0f);
  EXPECT_EQ(compute_average(values, 3, 1), 9.0f);
}

TEST(LowestBit, IsTheLogarithmOfAPowerOfTwo) {
  EXPECT_EQ(log2n(1), 0);
  EXPECT_EQ(log2n(64), 6);
  EXPECT_EQ(log2n(4096), 12);
  EXPECT_EQ(log2n(12), 2);
}

TEST(LogSpectrum, IsTheMeanOfTheDecibelsOfItsBins) {
  const testing::HandClock clock;
  const struct {
    std::int32_t width;
    std::uint32_t out_width;
    double upper;
  } cases[] = {{128, 8, 1.0}, {512, 16, 1.0}, {2048, 32, 1.0}, {2048, 100, 0.7}, {128, 20, 0.33}};
  for (const auto &c : cases) {
    const Meter meter = made_with_levels(c.width);
    const Levels decibels = read_decibels(meter.get());
    Levels out(c.out_width);
    auspecmeter_get_log_spectrum_limited(meter.get(), out.data(), c.out_width, c.upper);
    const double limit = c.width * c.upper;
    EXPECT_FLOAT_EQ(out[0], (decibels[0] + 80) / 80);
    for (std::uint32_t k = 1; k < c.out_width; ++k) {
      const double top = std::floor(limit) - 1;
      const auto low =
          static_cast<std::size_t>(std::min(top, std::floor(std::pow(limit, static_cast<double>(k) / c.out_width))));
      const auto high = static_cast<std::size_t>(std::min(top, std::floor(std::pow(limit, (k + 1.0) / c.out_width))));
      double mean = 0;
      for (std::size_t i = low; i <= high; ++i)
        mean += static_cast<double>(decibels[i]) / static_cast<double>(high - low + 1);
      EXPECT_NEAR(out[k], (mean + 80) / 80, 1e-5) << c.width << " to " << c.out_width << ", " << k;
    }
  }
}

TEST(LogSpectrum, WithoutALimitReachesTheTop) {
  const testing::HandClock clock;
  const Meter meter = made_with_levels(512);
  Levels whole(64), limited(64);
  auspecmeter_get_log_spectrum(meter.get(), whole.data(), 64);
  auspecmeter_get_log_spectrum_limited(meter.get(), limited.data(), 64, 1.0);
  EXPECT_EQ(whole, limited);
}

TEST(LogSpectrum, MayBeAsWideAsTheMeter) {
  const testing::HandClock clock;
  const Meter meter = made_with_levels(32);
  Levels out(32);
  auspecmeter_get_log_spectrum(meter.get(), out.data(), 32);
  EXPECT_NEAR(out[31], (read_decibels(meter.get())[31] + 80) / 80, 0.5);
}

TEST(LogSpectrum, IsNeverBelowNought) {
  const testing::HandClock clock;
  Meter meter(auspecmeter_create(64), auspecmeter_destroy);
  Levels out(16, 5.0f);
  auspecmeter_get_log_spectrum(meter.get(), out.data(), 16);
  EXPECT_EQ(out, Levels(16));
}

TEST(LogSpectrum, ReadsAsTheDecibelReadDoes) {
  testing::HandClock clock;
  const Meter meter = made_with_levels(64);
  clock.move(0.1);
  Levels out(8);
  const float before = meter->levels[0];
  auspecmeter_get_log_spectrum(meter.get(), out.data(), 8);
  EXPECT_EQ(meter->levels[0], before);
  EXPECT_EQ(meter->seen_count, 7u);
  auspecmeter_get_log_spectrum(meter.get(), out.data(), 8);
  EXPECT_NEAR(meter->levels[0], before - 2, 1e-4);
}

// What is printed, and that the rest does not happen.
std::string refusal(std::uint32_t out_width, double upper) {
  testing::HandClock clock;
  const Meter meter = made_with_levels(128);
  clock.move(1);
  Levels out(200, 3.0f);
  ::testing::internal::CaptureStderr();
  auspecmeter_get_log_spectrum_limited(meter.get(), out.data(), out_width, upper);
  const std::string message = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(out, Levels(200, 3.0f));
  EXPECT_EQ(meter->seen_count, 0u);
  return message;
}

TEST(LogSpectrum, RefusesAnUpperLimitOutOfRange) {
  const std::string name = "auspecmeter_get_log_spectrum_limited: ";
  EXPECT_EQ(refusal(8, 1.01), name + "upper limit coeff 1.010000 is not in 0.0..1.0 range\n");
  EXPECT_EQ(refusal(8, -0.5), name + "upper limit coeff -0.500000 is not in 0.0..1.0 range\n");
  EXPECT_NE(refusal(8, std::nan("")), "");
}

TEST(LogSpectrum, RefusesToBeWiderThanTheMeter) {
  const std::string name = "auspecmeter_get_log_spectrum_limited: ";
  EXPECT_EQ(refusal(129, 1.0), name + "width of 129 exceeds meter width of 128.000000\n");
  EXPECT_EQ(refusal(65, 0.5), name + "width of 65 exceeds meter width of 64.000000\n");
  EXPECT_EQ(refusal(64, 0.499), name + "width of 64 exceeds meter width of 63.872000\n");
  EXPECT_EQ(refusal(1, 0.0), name + "width of 1 exceeds meter width of 0.000000\n");
}

TEST(LogSpectrum, OfNoWidthOrNoMeterDoesNothing) {
  EXPECT_EQ(refusal(0, 0.5), "");
  EXPECT_EQ(refusal(0, 0.0), "");
  auspecmeter_get_log_spectrum(nullptr, nullptr, 8);
}

}  // namespace
}  // namespace auspool
