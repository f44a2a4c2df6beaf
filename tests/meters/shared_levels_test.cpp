#include "meters/shared_levels.h"

#include <gtest/gtest.h>

#include <numeric>

namespace auspool {
namespace {

TEST(SharedLevels, GiveBackWhatWasStored) {
  SharedLevels levels(32);
  ASSERT_EQ(levels.size(), 32u);
  std::vector<float> stored(32), loaded(33, -1.0f);
  std::iota(stored.begin(), stored.end(), -120.5f);
  levels.store(stored.data());
  levels.load(loaded.data());
  EXPECT_EQ(std::vector<float>(loaded.begin(), loaded.begin() + 32), stored);
  EXPECT_EQ(loaded[32], -1.0f);
  for (std::size_t i = 0; i < 32; ++i) EXPECT_EQ(levels[i], stored[i]);
}

TEST(SharedLevels, AreFilledWithOne) {
  SharedLevels levels(4);
  levels.fill(-120.0f);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(levels[i], -120.0f);
}

}  // namespace
}  // namespace auspool
