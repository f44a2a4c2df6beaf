#include <gtest/gtest.h>

#include <mutex>
#include <thread>

#include "platform/spin_lock.h"

namespace auspool::platform {
namespace {

// Both threads take the lock in a way of their own and count on plain words; what one wrote must reach the other.
TEST(SpinLock, PublishesWhatWasDoneUnderIt) {
  constexpr int kRounds = 20000;
  SpinLock lock;
  long first = 0, second = 0;
  const auto count = [&](const auto &take) {
    for (int i = 0; i < kRounds; ++i) {
      take();
      const std::unique_lock held(lock, std::adopt_lock);
      first += 1;
      second -= 1;
    }
  };
  std::thread waiting([&] { count([&] { lock.lock(); }); });
  std::thread sleeping([&] { count([&] { lock.lock_in_sleeps(1); }); });
  waiting.join();
  sleeping.join();
  EXPECT_EQ(first, 2 * kRounds);
  EXPECT_EQ(second, -2 * kRounds);
}

TEST(SpinLock, LockingWaitsUntilTheHolderIsDone) {
  SpinLock lock;
  int stage = 0;
  lock.lock();
  std::thread other([&] {
    lock.lock_in_sleeps(20);
    EXPECT_EQ(stage, 1);
    lock.unlock();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(2));
  stage = 1;
  lock.unlock();
  other.join();
}

}  // namespace
}  // namespace auspool::platform
