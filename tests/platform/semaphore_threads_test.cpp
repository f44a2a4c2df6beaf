#include "platform/semaphore.h"

#include <chrono>
#include <thread>

#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

TEST(Semaphore, NoPostIsLost) {
  platform::Semaphore there, back;
  std::thread other([&] {
    for (int i = 0; i < 20000; ++i) {
      EXPECT_TRUE(there.wait_for(std::chrono::seconds(20)));
      back.post();
    }
  });
  for (int i = 0; i < 20000; ++i) {
    there.post();
    EXPECT_TRUE(back.wait_for(std::chrono::seconds(20)));
  }
  other.join();
}

TEST(Semaphore, AWaitEndsWithoutAPost) {
  platform::Semaphore semaphore;
  EXPECT_FALSE(semaphore.wait_for(std::chrono::milliseconds(1)));
  EXPECT_FALSE(semaphore.wait_for(std::chrono::seconds(0)));
}

TEST(Semaphore, PostsThatPiledUpCountAsOne) {
  platform::Semaphore semaphore;
  for (int i = 0; i < 1000; ++i) semaphore.post();
  EXPECT_TRUE(semaphore.wait_for(std::chrono::seconds(20)));
  EXPECT_FALSE(semaphore.wait_for(std::chrono::seconds(0)));
}

TEST(Semaphore, APostBlocksNever) {
  platform::Semaphore semaphore;
  const bool possible = run_without_system_calls([&] {
    for (int i = 0; i < 100000; ++i) semaphore.post();
  });
  if (!possible) GTEST_SKIP() << "system calls cannot be refused here";
  EXPECT_TRUE(semaphore.wait_for(std::chrono::seconds(0)));
}

}  // namespace
