#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "auspool/autag2.h"

namespace auspool::tags {
namespace {

TEST(GenresThreads, SeveralThreadsMayAskFirst) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (std::int32_t index = 0; index < 192; ++index) {
        audict *genre = autag2_copy_genre_for_index(index);
        EXPECT_NE(audict_string(genre), nullptr);
        audict_release(genre);
      }
    });
  }
  for (std::thread &thread : threads) thread.join();
}

}  // namespace
}  // namespace auspool::tags
