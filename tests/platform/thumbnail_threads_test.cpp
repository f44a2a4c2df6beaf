// The process's one setting of what libav prints.
#include <gtest/gtest.h>

#include <thread>

#include "platform/thumbnail.h"

extern "C" int av_log_get_level() __attribute__((weak));  // not there in a build without it

namespace {

TEST(Thumbnails, OfSeveralThreadsLeaveTheLogLevelAsItWas) {
  if (!av_log_get_level) GTEST_SKIP() << "this build has no libavformat";
  const int before = av_log_get_level();
  const auto look = [] {
    for (int i = 0; i < 3000; ++i) auspool::platform::video_thumbnail("/missing.mp4", 320);
  };
  for (int round = 0; round < 5; ++round) {
    std::thread other(look);
    look();
    other.join();
    ASSERT_EQ(av_log_get_level(), before);
  }
}

}  // namespace
