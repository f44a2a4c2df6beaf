#include "platform/spin_lock.h"

#include <gtest/gtest.h>

#include <mutex>

#include "support/watch.h"

namespace auspool::platform {
namespace {

TEST(SpinLock, OneHolderAtATime) {
  SpinLock lock;
  EXPECT_TRUE(lock.try_lock());
  EXPECT_FALSE(lock.try_lock());
  lock.unlock();
  EXPECT_TRUE(lock.try_lock());
  lock.unlock();
}

TEST(SpinLock, WorksWithTheStandardGuards) {
  SpinLock lock;
  const std::unique_lock first(lock, std::try_to_lock);
  const std::unique_lock second(lock, std::try_to_lock);
  EXPECT_TRUE(first.owns_lock());
  EXPECT_FALSE(second.owns_lock());
}

TEST(SpinLock, TryingIsSafeOnARealTimeThread) {
  SpinLock lock;
  const auto attempts = [&] {
    const testing::RealtimeGuard guard;
    if (lock.try_lock()) lock.unlock();
  };
  attempts();
  if (!testing::run_without_system_calls(attempts)) GTEST_SKIP() << "system calls cannot be refused in this build";
}

}  // namespace
}  // namespace auspool::platform
