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
      Row windowed(count), powers(count, 0.25f), levels(count, -6.0f);
      apply_window(a.data(), b.data(), windowed.data(), count);
      add_powers(a.data(), b.data(), 1.1f, powers.data(), count);
      fall_levels(levels.data(), 1.5f, count);
      raise_levels(powers.data(), 3.0f, levels.data(), count);
      for (std::size_t i = 0; i < count; ++i) {
        EXPECT_EQ(windowed[i], a[i] * b[i]);
        const float power = std::min(1.0f, 1.1f * a[i] * (1.1f * a[i]) + 1.1f * b[i] * (1.1f * b[i]));
        EXPECT_NEAR(powers[i], 0.25f + power, 1e-6);
        EXPECT_NEAR(levels[i], std::max(-7.5, 10 * std::log10(static_cast<double>(powers[i]) / 3)), 1e-5);
      }
    }
  }
}

TEST(SpectrumLevels, RiseToTheFloorAndPassOverNaN) {
  for (const vector::Target &target : vector::targets()) {
    const vector::OnlyTarget only(target);
    SCOPED_TRACE(target.name);
    Row powers(40), levels(40, -130.0f);
    for (std::size_t i = 0; i < 40; i += 4) {
      powers[i + 1] = std::numeric_limits<float>::quiet_NaN();
      powers[i + 2] = 1.01e-8f;
      powers[i + 3] = 0.99e-8f;
    }
    raise_levels(powers.data(), 1.0f, levels.data(), 40);
    for (std::size_t i = 0; i < 40; i += 4) {
      EXPECT_EQ(levels[i], -120.0f);
      EXPECT_EQ(levels[i + 1], -130.0f);
      EXPECT_NEAR(levels[i + 2], -79.957, 1e-3);
      EXPECT_EQ(levels[i + 3], -120.0f);
    }
  }
}

TEST(SpectrumLevels, FallFromTheFloorAndComeBackFromBelow) {
  for (const vector::Target &target : vector::targets()) {
    const vector::OnlyTarget only(target);
    SCOPED_TRACE(target.name);
    Row levels(39);
    const float before[] = {-3.0f, -120.0f, -120.00001f};
    for (std::size_t i = 0; i < levels.size(); ++i) levels[i] = before[i % 3];
    fall_levels(levels.data(), 10.0f, levels.size());
    const float after[] = {-13.0f, -130.0f, -120.0f};
    for (std::size_t i = 0; i < levels.size(); ++i) EXPECT_EQ(levels[i], after[i % 3]) << i;
  }
}

TEST(SpectrumLevels, KeepNaNAmongPowers) {
  for (const vector::Target &target : vector::targets()) {
    const vector::OnlyTarget only(target);
    Row nan(40, std::numeric_limits<float>::quiet_NaN()), sums(40, 1.0f);
    add_powers(nan.data(), nan.data(), 1.0f, sums.data(), 40);
    for (const float sum : sums) EXPECT_TRUE(std::isnan(sum));
  }
}

}  // namespace
}  // namespace auspool
