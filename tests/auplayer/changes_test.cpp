// Devices that change under a player.
#include <atomic>
#include <chrono>
#include <thread>

#include "players.h"

namespace auspool::testing {
namespace {

template <typename Generation>
class PlayerChanges : public PlayerTest<Generation> {
protected:
  void SetUp() override {
    first = this->stereo();
    second = this->devices.add(output_device(kInterleaved));
  }
  void start() { EXPECT_EQ(Generation::start(this->player), 0); }
  void make_default(std::uint32_t id) { ausim_set_default(this->devices, 0, id); }

  std::uint32_t first = 0, second = 0;
};
TYPED_TEST_SUITE(PlayerChanges, Generations, GenerationNames);

TYPED_TEST(PlayerChanges, FollowsTheDefaultDeviceAndLosesNothing) {
  this->start();
  const Samples in = noise(4 * 512, 1);
  this->play(in);
  Samples heard = this->heard(this->first, 2);
  this->make_default(this->second);
  EXPECT_EQ(TypeParam::device(this->player), this->second);
  const Samples rest = this->heard(this->second, 2);
  heard.insert(heard.end(), rest.begin(), rest.end());
  EXPECT_EQ(heard, in);
  EXPECT_EQ(this->heard(this->first, 1), Samples(512, 0.0f));
}

TYPED_TEST(PlayerChanges, TearsTheOldDeviceDownAsAStopDoes) {
  this->start();
  this->devices.take_operations();
  this->make_default(this->second);
  std::string asked;
  for (const DeviceOperation &operation : this->devices.take_operations()) {
    asked += std::to_string(operation.kind) + operation.selector + (operation.object == this->first ? "! " : " ");
  }
  EXPECT_EQ(asked, "10! 9! 7! 5nsrt! 1dOut 1nsrt 1dch2 6 10 8 4nsrt 1nsrt ");
}

TYPED_TEST(PlayerChanges, TakesTheRateOfTheNewDevice) {
  this->devices.set_rate(this->second, 96000);
  this->start();
  this->make_default(this->second);
  EXPECT_EQ(this->player->device_rate, 96000.0f);
}

TYPED_TEST(PlayerChanges, KeepsThePositionAcrossDevices) {
  this->start();
  this->play(Samples(4410));
  this->make_default(this->second);
  ausim_run(this->devices, this->second, 20);
  EXPECT_NEAR(TypeParam::now_playing(this->player) + TypeParam::device_latency(this->player), 0.1f, 1e-6);
}

TYPED_TEST(PlayerChanges, StaysWhereItIsIfItIgnoresThem) {
  this->set_options([](AuPlayerOptions &options) { options.ignore_default_device_changes = 1; });
  this->start();
  this->devices.take_operations();
  this->make_default(this->second);
  EXPECT_EQ(TypeParam::device(this->player), this->first);
  EXPECT_TRUE(this->devices.take_operations().empty());
}

TYPED_TEST(PlayerChanges, StaysOnADeviceThatWasAskedFor) {
  this->set_options([this](AuPlayerOptions &options) { options.device = this->first; });
  this->start();
  this->make_default(this->second);
  EXPECT_EQ(TypeParam::device(this->player), this->first);
}

TYPED_TEST(PlayerChanges, AnInactivePlayerStaysSo) {
  this->devices.take_operations();
  this->make_default(this->second);
  EXPECT_EQ(TypeParam::is_active(this->player), 0u);
  EXPECT_TRUE(this->devices.take_operations().empty());
}

TYPED_TEST(PlayerChanges, ARestartThatFailsLeavesItActiveAndTheNextChangeStartsIt) {
  this->start();
  this->devices.fail(AUSIM_START, "", -5);
  this->make_default(this->second);
  EXPECT_EQ(TypeParam::is_active(this->player), 1u);
  EXPECT_EQ(TypeParam::device(this->player), 0u);
  EXPECT_EQ(this->player->io_proc_id, 0u);
  this->play(Samples(512, 0.5f));
  EXPECT_GT(TypeParam::get_buffer_length(this->player), 0.0f) << "blocks still go to the ring";
  this->devices.fail(AUSIM_START, "", 0);
  this->devices.take_operations();
  this->make_default(this->first);
  EXPECT_EQ(TypeParam::device(this->player), this->first);
  EXPECT_EQ(this->heard(this->first, 1), Samples(512, 0.5f));
  EXPECT_TRUE(this->devices.take_operations(AUSIM_STOP).empty()) << "there was nothing to tear down";
}

TYPED_TEST(PlayerChanges, CanBeStoppedAfterARestartThatFailed) {
  this->start();
  this->make_default(0);
  EXPECT_EQ(TypeParam::is_active(this->player), 1u);
  EXPECT_EQ(TypeParam::device(this->player), 0u);
  TypeParam::stop(this->player);
  EXPECT_EQ(TypeParam::is_active(this->player), 0u);
  EXPECT_EQ(rbuffer2_size(this->player->ring.get()), 0);
}

TYPED_TEST(PlayerChanges, GoesOnWhenItsDeviceIsTakenAway) {
  this->start();
  this->play(Samples(1024, 0.5f));
  ausim_remove_device(this->devices, this->first);
  EXPECT_EQ(TypeParam::device(this->player), 0u);
  this->make_default(this->second);
  EXPECT_EQ(this->heard(this->second, 2), Samples(1024, 0.5f));
}

TYPED_TEST(PlayerChanges, IsSilentWhenADeviceThatWasAskedForIsTakenAway) {
  this->set_options([this](AuPlayerOptions &options) { options.device = this->second; });
  this->start();
  ausim_remove_device(this->devices, this->second);
  EXPECT_EQ(TypeParam::is_active(this->player), 1u);
  TypeParam::stop(this->player);
  EXPECT_EQ(TypeParam::start(this->player), AUDEVICE_BAD_OBJECT);
}

TYPED_TEST(PlayerChanges, AChangeToNoDeviceOptionCountsForTheNextChange) {
  this->start();
  this->set_options([](AuPlayerOptions &options) { options.device = AUPLAYER_NO_DEVICE; });
  this->make_default(this->second);
  EXPECT_EQ(TypeParam::device(this->player), this->first);
}

TYPED_TEST(PlayerChanges, ACallbackMayAskForTheOptionsWhileItIsStopped) {
  std::atomic<bool> called = false, stopping = false;
  const PullCallback callback = [&](float *, int, double) {
    if (called.exchange(true)) return;
    while (!stopping) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // until the stop waits for this
    TypeParam::options(this->player);
  };
  TypeParam::set_callback(this->player, &callback);
  ausim_set_realtime(this->devices, 1);
  this->start();
  while (!called) std::this_thread::yield();
  stopping = true;
  TypeParam::stop(this->player);
  EXPECT_EQ(TypeParam::is_active(this->player), 0u);
  ausim_set_realtime(this->devices, 0);
  TypeParam::set_callback(this->player, nullptr);
}

// Otherwise the one that looked first might be the last to store what it saw.
TYPED_TEST(PlayerChanges, OneThreadAtATimeLooksAtTheRate) {
  this->start();
  std::atomic<int> looking = 0;
  std::atomic<bool> together = false;
  std::thread other;
  const auto look = [&] { Player::device_listener_proc(this->first, 1, &platform::kNominalRate, this->player); };
  this->devices.on_operation = [&](const DeviceOperation &operation) {
    if (operation.kind != AUSIM_GET || operation.selector != "nsrt") return 0;
    if (++looking > 1) together = true;
    if (!other.joinable()) {
      other = std::thread(look);
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    --looking;
    return 0;
  };
  look();
  other.join();
  this->devices.on_operation = nullptr;
  EXPECT_FALSE(together);
}

TYPED_TEST(PlayerChanges, OnlyTheRateOfItsOwnDeviceMatters) {
  this->start();
  this->devices.take_operations();
  this->devices.set_rate(this->second, 96000);
  EXPECT_EQ(this->player->device_rate, 44100.0f);
  EXPECT_TRUE(this->devices.take_operations().empty());
}

}  // namespace
}  // namespace auspool::testing
