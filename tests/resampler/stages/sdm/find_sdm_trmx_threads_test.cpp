#include "resampler/stages/sdm/find_sdm_trmx.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

// A process designs a matrix once, whoever asks for it first.
TEST(FindTransformMatrix, GivesThreadsThatAskAtOnceTheSameMatrix) {
  constexpr std::size_t kThreads = 4, kSizes = 6;
  std::vector<std::vector<const auspool::transform_matrix *>> found(kThreads);
  {
    std::vector<std::jthread> threads;
    for (auto &mine : found) {
      threads.emplace_back([&mine] {
        for (std::size_t i = 0; i < kSizes; ++i) {
          mine.push_back(auspool::find_sdm_trmx(8, 9 + static_cast<std::int32_t>(i)));
          // Read as a stage would.
          if (mine.back()) {
            EXPECT_NE(mine.back()->real[0], 0.0);
          }
        }
      });
    }
  }
  for (const auto &mine : found) {
    ASSERT_EQ(mine.size(), kSizes);
    for (std::size_t i = 0; i < kSizes; ++i) {
      ASSERT_TRUE(mine[i]);
      EXPECT_EQ(mine[i], found[0][i]);
    }
  }
}
