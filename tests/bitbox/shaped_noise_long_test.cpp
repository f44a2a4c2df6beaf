// Ten minutes of audio that clips all the time must leave no shaper worse than it was.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

#include "dither_spectra/spectrum.h"
#include "support/signals.h"

namespace auspool {
namespace {

using Dither = std::unique_ptr<bitbox_dither, void (*)(bitbox_dither *)>;

// A square wave, noise and a sine beyond full scale, a second each.
std::vector<float> loud(float rate) {
  const auto frames = static_cast<std::size_t>(rate);
  auto samples = testing::sine(frames, rate, 441, 1.2);
  const auto noise = testing::noise(frames, 1, 1.5);
  samples.insert(samples.end(), noise.begin(), noise.end());
  for (std::size_t i = 0; i < frames; ++i) samples.push_back(i / 50 % 2 == 0 ? 1.0f : -1.0f);
  return samples;
}

double largest_state(const bitbox_dither &dither) {
  double largest = 0;
  for (int i = 0; i <= dither.order; ++i) {
    largest = std::max(largest, std::abs(static_cast<double>(dither.state[static_cast<std::size_t>(i)])));
  }
  return largest / dither.step;
}

void expect_stable(std::uint32_t type, float rate) {
  const Dither dither(bitbox_dither_create(16, 1, type, nullptr, rate), bitbox_dither_destroy);
  const auto input = loud(rate);
  std::vector<float> output(input.size());
  for (int second = 0; second < 600; second += 3) {
    bitbox_dither_op(dither.get(), 0, 0, input.data(), 1, output.data(), 1, static_cast<std::int32_t>(input.size()));
    const auto [low, high] = std::minmax_element(output.begin(), output.end());
    ASSERT_GE(*low, -1.0f);
    ASSERT_LE(*high, 1.0f);
    ASSERT_LT(largest_state(*dither), 1000) << type << " after " << second << " seconds";
  }
  // Back at silence the noise is that of the design again.
  std::vector<double> silence(400000);
  bitbox_dither_ip(dither.get(), 0, 1, silence.data(), 1, 400000);
  double power = 0, designed = 0;
  for (const double x : silence) power += x * 32768 * x * 32768 / 400000;
  for (int i = 0; i < 2000; ++i) designed += 0.25 * designed_power(*dither, std::numbers::pi * (i + 0.5) / 2000) / 2000;
  EXPECT_NEAR(10 * std::log10(power / designed), 0, 0.2) << type << " at " << rate;
}

void expect_stable_at_all_rates(std::uint32_t type) {
  for (const int rate : {44100, 48000, 64000, 88200, 96000, 128000, 176400, 192000, 256000, 352800, 384000})
    expect_stable(type, static_cast<float>(rate));
}

TEST(StableThroughTenLoudMinutesLong, AreFlatFloors) {  // which have the same filters at every rate
  for (const std::uint32_t type : {BITBOX_DITHER_FLAT_LOW, BITBOX_DITHER_FLAT_MED, BITBOX_DITHER_FLAT_HIGH})
    expect_stable(type, 44100);
}

TEST(StableThroughTenLoudMinutesLong, AreTwoTaps) {
  expect_stable_at_all_rates(BITBOX_DITHER_SIMPLE);
}

TEST(StableThroughTenLoudMinutesLong, ArePoles) {
  expect_stable_at_all_rates(BITBOX_DITHER_POLES);
}

TEST(StableThroughTenLoudMinutesLong, AreFiltersAfterTheEar) {
  expect_stable_at_all_rates(BITBOX_DITHER_F_WEIGHTED);
}

}  // namespace
}  // namespace auspool
