#include "platform/level.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "platform/vector_targets.h"
#include "support/signals.h"

namespace auspool {
namespace {

TEST(MeasuredLevel, IsThatOfPlainLoopsOnEveryTarget) {
  for (const vector::Target &target : vector::targets()) {
    const vector::OnlyTarget only(target);
    SCOPED_TRACE(target.name);
    for (std::size_t count = 0; count < 200; ++count) {
      const std::vector<float> samples = testing::noise(count, 3);
      float largest = 0;
      double sum = 0;
      for (const float x : samples) {
        largest = std::max(largest, x * x);
        sum += static_cast<double>(x * x);
      }
      const Level level = measure_level(samples.data(), count);
      EXPECT_EQ(level.largest_square, largest) << count;
      EXPECT_NEAR(level.sum_of_squares, sum, 1e-6 * sum) << count;
    }
  }
}

TEST(MeasuredLevel, PassesOverNaNWhereverItStands) {
  for (const vector::Target &target : vector::targets()) {
    const vector::OnlyTarget only(target);
    for (std::size_t at = 0; at < 150; ++at) {
      std::vector<float> samples(150, 0.5f);
      samples[at] = std::numeric_limits<float>::quiet_NaN();
      const Level level = measure_level(samples.data(), samples.size());
      EXPECT_EQ(level.largest_square, 0.25f);
      EXPECT_TRUE(std::isnan(level.sum_of_squares));
    }
  }
}

}  // namespace
}  // namespace auspool
