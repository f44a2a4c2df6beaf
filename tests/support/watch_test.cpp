#include "support/watch.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace auspool::testing {
namespace {

// Keeps the compiler from leaving out an allocation that is released at once.
void *volatile keep;

void allocate_with_new() {
  auto block = std::make_unique<int>(1);
  keep = block.get();
}

TEST(RealtimeGuard, ReportsAnAllocation) {
  EXPECT_NONFATAL_FAILURE(
      {
        const RealtimeGuard guard;
        allocate_with_new();
      },
      "operator new");
}

TEST(RealtimeGuard, ReportsASleep) {
  EXPECT_NONFATAL_FAILURE(
      {
        const RealtimeGuard guard;
        usleep(1);
      },
      "usleep");
}

TEST(RealtimeGuard, LetsANamedWaitPass) {
  const RealtimeGuard guard("usleep");
  usleep(1);
}

TEST(CallFailer, FailsEveryCallOfItsName) {
  const CallFailer failer("malloc");
  keep = std::malloc(8);
  EXPECT_EQ(keep, nullptr);
  keep = std::malloc(8);
  EXPECT_EQ(keep, nullptr);
  EXPECT_EQ(failer.failures(), 2);
}

TEST(CallFailer, FailsTheChosenCallAlone) {
  const CallFailer failer("malloc", 2);
  void *first = std::malloc(8);
  keep = std::malloc(8);
  EXPECT_EQ(keep, nullptr);
  void *third = std::malloc(8);
  EXPECT_NE(first, nullptr);
  EXPECT_NE(third, nullptr);
  std::free(first);
  std::free(third);
}

TEST(FailEachAllocation, ReachesEveryAllocation) {
  const int failed = fail_each_allocation([] {
    try {
      auto one = std::make_unique<int>(1);
      keep = one.get();
      std::vector<int> two(100);
      keep = two.data();
      return true;
    } catch (const std::bad_alloc &) {
      return false;
    }
  });
  EXPECT_EQ(failed, 2);
}

TEST(FailEachAllocation, NoticesWhatIsLeftBehind) {
  static int *left = nullptr;
  EXPECT_NONFATAL_FAILURE(fail_each_allocation([] {
                            left = static_cast<int *>(std::malloc(4));
                            return left != nullptr;
                          }),
                          "left behind");
  std::free(left);
}

TEST(FailEachAllocation, ReachesWhatTheCppLibraryAllocates) {
  const AllocationFailer failer(1);
  EXPECT_THROW(std::string(1000, 'x').append("y"), std::bad_alloc);
  EXPECT_TRUE(failer.failed());
}

TEST(RunWithoutSystemCalls, ReportsASystemCall) {
  if (!run_without_system_calls([] {})) GTEST_SKIP() << "not possible in this build";
  EXPECT_NONFATAL_FAILURE(run_without_system_calls([] { (void)getppid(); }), "system call");
}

}  // namespace
}  // namespace auspool::testing
