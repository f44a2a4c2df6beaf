#include "platform/spectrum_levels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "platform/vector_targets.h"
#include "support/signals.h"

namespace auspool {
namespace {

using Row = std::vector<float>;

TEST(SpectrumLevels, AreThoseOfPlainLoopsOnEveryTarget) {
  for (const vector::Target &target : vector::targets()) {
    const vector::OnlyTarget only(target);
    SCOPED_TRACE(target.name);
    for (const std::size_t count : {0u, 1u, 3u, 4u, 7u, 8u, 15u, 16u, 17u, 64u, 100u}) {
      const Row a = testing::noise(count, 1, 1.0);
      const Row b = testing::noise(count, 2, 1.0);
      Row windowed(count), powers(count, 0.25f), decibels(count);
      apply_window(a.data(), b.data(), windowed.data(), count);
      add_powers(a.data(), b.data(), 1.1f, powers.data(), count);
      to_decibels(powers.data(), 3.0f, decibels.data(), count);
      for (std::size_t i = 0; i < count; ++i) {
        EXPECT_EQ(windowed[i], a[i] * b[i]);
        const float power = std::min(1.0f, 1.1f * a[i] * (1.1f * a[i]) + 1.1f * b[i] * (1.1f * b[i]));
        EXPECT_NEAR(powers[i], 0.25f + power, 1e-6);
        EXPECT_NEAR(decibels[i], 10 * std::log10(static_cast<double>(powers[i]) / 3), 1e-5);
      }
    }
  }
}

TEST(SpectrumLevels, HaveAFloorAndKeepNaN) {
  for (const vector::Target &target : vector::targets()) {
    const vector::OnlyTarget only(target);
    SCOPED_TRACE(target.name);
    Row powers(40), decibels(40);
    for (std::size_t i = 0; i < 40; i += 4) {
      powers[i + 1] = std::numeric_limits<float>::quiet_NaN();
      powers[i + 2] = 1.01e-8f;
      powers[i + 3] = 0.99e-8f;
    }
    to_decibels(powers.data(), 1.0f, decibels.data(), 40);
    Row nan(40, std::numeric_limits<float>::quiet_NaN()), sums(40, 1.0f);
    add_powers(nan.data(), nan.data(), 1.0f, sums.data(), 40);
    for (std::size_t i = 0; i < 40; i += 4) {
      EXPECT_EQ(decibels[i], -120.0f);
      EXPECT_TRUE(std::isnan(decibels[i + 1]));
      EXPECT_NEAR(decibels[i + 2], -79.957, 1e-3);
      EXPECT_EQ(decibels[i + 3], -120.0f);
      EXPECT_TRUE(std::isnan(sums[i]));
    }
  }
}

}  // namespace
}  // namespace auspool
