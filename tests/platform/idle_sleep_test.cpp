#include "platform/idle_sleep.h"

#include <gtest/gtest.h>

#include <chrono>

#include "auspool/auplayer.h"
#include "support/login_service.h"
#include "support/simulated_devices.h"

namespace auspool::platform {
namespace {

using auspool::testing::eventually;

TEST(IdleSleepWithoutABus, IsNotHeldAndNothingHappens) {
  const auspool::testing::NoBus no_bus;
  IdleSleepInhibitor inhibitor;
  EXPECT_FALSE(inhibitor.hold());
  EXPECT_FALSE(inhibitor.hold());
  inhibitor.release();
  inhibitor.release();
}

// The library that speaks to it would wait for 90 seconds.
TEST(IdleSleepOnASilentBus, IsGivenUpSoon) {
  const auspool::testing::SilentBus bus;
  IdleSleepInhibitor inhibitor;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_FALSE(inhibitor.hold());
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

class IdleSleep : public ::testing::Test {
protected:
  void SetUp() override {
    NEED_LOGIN_SERVICE();
    service.emplace();
    ASSERT_TRUE(service->ready());
    if (!IdleSleepInhibitor().hold()) GTEST_SKIP() << "this build reaches no login service";
    ASSERT_TRUE(wait_for_none());
  }

  int inhibitors() const { return service->inhibitors("idle"); }
  // What was let go of a moment ago may show for another.
  bool wait_for_none() const {
    return eventually([this] { return inhibitors() == 0; });
  }

  std::optional<auspool::testing::LoginService> service;
};

TEST_F(IdleSleep, IsInhibitedWhileHeld) {
  EXPECT_EQ(inhibitors(), 0);
  IdleSleepInhibitor inhibitor;
  EXPECT_TRUE(inhibitor.hold());
  EXPECT_EQ(inhibitors(), 1);
  EXPECT_TRUE(inhibitor.hold());
  EXPECT_EQ(inhibitors(), 1);
  inhibitor.release();
  EXPECT_TRUE(wait_for_none());
  EXPECT_TRUE(inhibitor.hold());
  EXPECT_EQ(inhibitors(), 1);
}

TEST_F(IdleSleep, IsNotHeldWhereTheServiceDoesNotAnswerAndAskedForAgainAfterARelease) {
  service->pause(true);
  IdleSleepInhibitor inhibitor;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_FALSE(inhibitor.hold());
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
  service->pause(false);
  EXPECT_TRUE(wait_for_none()) << "what came of the question after all has no taker";
  EXPECT_FALSE(inhibitor.hold()) << "not before it was released";
  inhibitor.release();
  EXPECT_TRUE(inhibitor.hold());
}

TEST_F(IdleSleep, IsInhibitedWhileAudioRunsUnlessItIsAllowed) {
  auspool::testing::SimulatedDevices devices;
  devices.add_default_output(auspool::testing::output_device(auspool::testing::kInterleaved));
  auplayer2 *const first = auplayer2_create(), *const second = auplayer2_create();
  EXPECT_EQ(inhibitors(), 0);
  auplayer2_start(first);
  auplayer2_start(second);
  EXPECT_EQ(inhibitors(), 1);
  auplayer2_stop(first);
  EXPECT_EQ(inhibitors(), 1);
  auplayer2_begin_allow_idle_sleep();
  EXPECT_TRUE(wait_for_none());
  auplayer2_end_allow_idle_sleep();
  EXPECT_EQ(inhibitors(), 1);
  auplayer2_destroy(second);
  EXPECT_TRUE(wait_for_none());
  auplayer2_destroy(first);
}

TEST_F(IdleSleep, IsAllowedWhenTheDeviceOfWhatRunsIsGone) {
  auspool::testing::SimulatedDevices devices;
  const std::uint32_t id = devices.add(auspool::testing::output_device(auspool::testing::kInterleaved));
  auplayer2 *const player = auplayer2_create();
  AuPlayerOptions options = auplayer2_options(player);
  options.device = id;
  auplayer2_set_options(player, &options);
  ASSERT_EQ(auplayer2_start(player), 0);
  EXPECT_EQ(inhibitors(), 1);
  ausim_remove_device(devices, id);
  EXPECT_TRUE(wait_for_none());
  EXPECT_EQ(auplayer2_is_active(player), 1u);
  auplayer2_destroy(player);
}

TEST_F(IdleSleep, IsNotInhibitedByAStartThatFails) {
  auspool::testing::SimulatedDevices devices;
  devices.add_default_output(auspool::testing::output_device(auspool::testing::kInterleaved));
  devices.fail(AUSIM_START, "", -1);
  auplayer2 *const player = auplayer2_create();
  EXPECT_EQ(auplayer2_start(player), -1);
  EXPECT_EQ(inhibitors(), 0);
  auplayer2_destroy(player);
}

}  // namespace
}  // namespace auspool::platform
