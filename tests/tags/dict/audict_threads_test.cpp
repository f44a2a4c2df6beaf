#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "auspool/audict.h"

namespace auspool::tags {
namespace {

TEST(AudictThreads, SeveralThreadsHoldAndReadTheSameValue) {
  audict *tag = audict_create();
  audict_set_string(tag, "Title", "Night Train");
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([held = audict_retain(tag)] {
      for (int round = 0; round < 1000; ++round) {
        audict *mine = audict_retain(audict_get(held, "Title"));
        EXPECT_STREQ(audict_string(mine), "Night Train");
        audict *array = audict_create_array();
        EXPECT_TRUE(audict_append(array, mine));
        audict_release(mine);
        audict_release(array);
      }
      audict_release(held);
    });
  }
  audict_release(tag);
  for (std::thread &thread : threads) thread.join();
}

}  // namespace
}  // namespace auspool::tags
