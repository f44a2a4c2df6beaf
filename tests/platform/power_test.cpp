#include "platform/power.h"

#include <gtest/gtest.h>

#include <atomic>

#include "platform/idle_sleep.h"
#include "support/login_service.h"
#include "support/watch.h"

namespace auspool::platform {
namespace {

using auspool::testing::CallFailer;
using auspool::testing::eventually;

// A listener that lets the computer sleep at once, or only when it is told to.
struct Host {
  std::atomic<int> sleeps = 0, wakings = 0;
  std::atomic<bool> ready = true;
  PowerNotifier notifier;

  bool start() { return notifier.start(hear, this); }

  static void hear(void *self, std::uint32_t message_type) {
    Host &host = *static_cast<Host *>(self);
    if (message_type == kIOMessageSystemWillPowerOn) ++host.wakings;
    if (message_type != kIOMessageSystemWillSleep) return;
    ++host.sleeps;
    while (!host.ready) usleep(1000);
    host.notifier.allow_power_change();
  }
};

TEST(PowerWithoutABus, TellsNothing) {
  const auspool::testing::NoBus no_bus;
  Host host;
  ASSERT_TRUE(host.start());
  host.notifier.stop();
  host.notifier.stop();
  EXPECT_EQ(host.sleeps + host.wakings, 0);
}

TEST(PowerWithoutABus, AFailureIsReportedAndLeavesNothing) {
  Host host;
  {
    const CallFailer failer("pthread_create", 1, EAGAIN);
    EXPECT_FALSE(host.start());
  }
  const auspool::testing::NoBus no_bus;
  EXPECT_TRUE(host.start());
}

class Power : public ::testing::Test {
protected:
  void SetUp() override {
    NEED_LOGIN_SERVICE();
    service.emplace();
    ASSERT_TRUE(service->ready());
    ASSERT_TRUE(host.start());
    if (!IdleSleepInhibitor().hold()) GTEST_SKIP() << "this build reaches no login service";
    ASSERT_TRUE(wait_for(1)) << "it holds sleep up while the computer is awake";
  }

  bool wait_for(int inhibitors) const {
    return eventually([&] { return service->inhibitors("sleep") == inhibitors; });
  }

  std::optional<auspool::testing::LoginService> service;
  Host host;
};

TEST_F(Power, SleepAndWakingAreTold) {
  for (int round = 1; round <= 2; ++round) {
    service->prepare_for_sleep(true);
    EXPECT_TRUE(eventually([&] { return host.sleeps == round; }));
    EXPECT_TRUE(wait_for(0)) << "and the computer may sleep";
    EXPECT_EQ(host.wakings, round - 1);
    service->prepare_for_sleep(false);
    EXPECT_TRUE(eventually([&] { return host.wakings == round; }));
    EXPECT_TRUE(wait_for(1)) << "the next sleep waits again";
  }
}

TEST_F(Power, SleepWaitsUntilTheHostIsReady) {
  host.ready = false;
  service->prepare_for_sleep(true);
  EXPECT_TRUE(eventually([&] { return host.sleeps == 1; }));
  EXPECT_EQ(service->inhibitors("sleep"), 1);
  host.ready = true;
  EXPECT_TRUE(wait_for(0));
}

TEST_F(Power, NothingHoldsSleepUpOnceItHasStopped) {
  host.notifier.stop();
  EXPECT_TRUE(wait_for(0));
  service->prepare_for_sleep(true);
  EXPECT_EQ(host.sleeps, 0);
  ASSERT_TRUE(host.start());
  EXPECT_TRUE(wait_for(1)) << "it can be started again";
}

TEST_F(Power, ABusThatGoesIsNoHarm) {
  service->kill_bus();
  host.notifier.stop();
  EXPECT_EQ(host.sleeps + host.wakings, 0);
}

}  // namespace
}  // namespace auspool::platform
