// What a sound server does under audio that plays: nothing of it may crash, hang or stay silent without a word.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <optional>

#include "platform/idle_sleep.h"
#include "support/login_service.h"
#include "support/sound_system.h"
#include "support/watch.h"

namespace auspool::platform {
namespace {

using testing::Ears;
using testing::eventually;
using testing::MonitorRecorder;
using testing::NumberedPlayer;
using testing::SoundServer;
using testing::SoundSystem;
using testing::SoundTest;
using testing::Stretch;
using testing::stretches_of;

class PipeWireChanges : public SoundTest {
protected:
  void expect_playing(const NumberedPlayer &player) {
    const int before = player.cycles;
    EXPECT_TRUE(eventually([&] { return player.cycles > before + 3; }));
  }
};

// As a player does it that follows the default.
struct Follower {
  explicit Follower(SoundSystem &sound) : system(sound) {
    follow();
    EXPECT_EQ(system.devices.add_listener(kSystemObject, kDefaultOutput, hear, this), 0);
  }
  ~Follower() { system.devices.remove_listener(kSystemObject, kDefaultOutput, hear, this); }

  static DeviceStatus hear(ObjectId, std::uint32_t, const PropertyAddress *, void *self) {
    static_cast<Follower *>(self)->follow();
    return 0;
  }

  void follow() {
    const std::uint64_t next = player ? (player->stop(), player->next.load()) : 0;
    player.reset();
    const ObjectId device = system.default_output();
    if (device == 0) return;
    player.emplace(system.devices, device, next);
    const DeviceStatus status = player->start();
    EXPECT_TRUE(status == 0 || status == AUDEVICE_BAD_OBJECT) << status << "; it may go at this moment";
    ++starts;
  }

  SoundSystem &system;
  std::optional<NumberedPlayer> player;
  std::atomic<int> starts = 0;
};

// Where the audio goes on that `before` heard to the end, if it does.
std::optional<std::uint64_t> lost_between(const std::vector<Stretch> &before, const std::vector<Stretch> &after) {
  if (before.empty()) return {};
  const std::uint64_t heard = before.back().first + before.back().frames;
  const auto next = std::ranges::find_if(after, [&](const Stretch &stretch) { return stretch.first >= heard; });
  if (next == after.end()) return {};
  return next->first - heard;
}

// A server on a busy computer may be late just then: one of five changes must do.
TEST_F(PipeWireChanges, AnotherDefaultCostsOneBufferAtMost) {
  const MonitorRecorder main(*server, "main", "FL,FR"), other(*server, "other", "FL,FR");
  ASSERT_TRUE(eventually([&] { return !main.samples().empty() && !other.samples().empty(); }));
  Follower follower(*system);
  std::uint64_t least = UINT64_MAX;
  for (int i = 0; i < 5 && least > follower.player->frames; ++i) {
    const MonitorRecorder &from = i % 2 ? other : main, &to = i % 2 ? main : other;
    const std::uint64_t played = follower.player->next;
    const auto heard = [&] {
      const auto stretches = stretches_of(from.samples(), 2);
      return !stretches.empty() && stretches.back().first + stretches.back().frames > played;
    };
    ASSERT_TRUE(eventually(heard));
    server->set_default_sink(i % 2 ? "main" : "other");
    ASSERT_TRUE(eventually([&] { return follower.starts >= i + 2; }));
    std::optional<std::uint64_t> lost;
    ASSERT_TRUE(eventually([&] {
      lost = lost_between(stretches_of(from.samples(), 2), stretches_of(to.samples(), 2));
      return lost.has_value();
    }));
    least = std::min(least, *lost);
  }
  EXPECT_LE(least, follower.player->frames);
}

TEST_F(PipeWireChanges, AnotherGraphRateIsToldAndPlaybackGoesOnExact) {
  const ObjectId main = system->device("main");
  NumberedPlayer player(devices(), main);
  ASSERT_EQ(player.start(), 0);
  Ears ears(devices(), main, kNominalRate);
  ASSERT_TRUE(eventually([&] { return ears.heard > 0; }));
  server->set("force-rate", 44100);
  ASSERT_TRUE(eventually([&] { return ears.heard > 1 && system->rate(main) == 44100.0; }));
  expect_playing(player);
  const MonitorRecorder recorder(*server, "main", "FL,FR", 44100);
  testing::expect_exact([&] { return recorder.samples(); }, 2, 12000);
  EXPECT_EQ(system->rate(main), 44100.0);
}

TEST_F(PipeWireChanges, ARateThatIsSetWhilePlayingBecomesTheGraphs) {
  const ObjectId main = system->device("main");
  NumberedPlayer player(devices(), main);
  ASSERT_EQ(player.start(), 0);
  ASSERT_TRUE(eventually([&] { return devices().set(main, kNominalRate, 96000.0) == 0; }));
  EXPECT_EQ(system->rate(main), 96000.0);
  expect_playing(player);
  const MonitorRecorder recorder(*server, "main", "FL,FR", 96000);
  testing::expect_exact([&] { return recorder.samples(); }, 2, 12000);
  EXPECT_EQ(system->rate(main), 96000.0);
  ASSERT_TRUE(eventually([&] { return devices().set(main, kNominalRate, 48000.0) == 0; }));
  expect_playing(player);
}

// While the session manager stands still, nothing connects the streams that ask for the rate.
TEST_F(PipeWireChanges, ARateThatWasRefusedIsNotAskedForAnyMore) {
  const ObjectId main = system->device("main");
  NumberedPlayer player(devices(), main);
  ASSERT_EQ(player.start(), 0);
  server->pause_manager(true);
  EXPECT_EQ(devices().set(main, kNominalRate, 96000.0), AUDEVICE_BAD_VALUE);
  EXPECT_EQ(system->rate(main), 48000.0);
  server->pause_manager(false);
  expect_playing(player);
  EXPECT_EQ(system->rate(main), 48000.0);
  player.stop();
  EXPECT_EQ(system->rate(main), 48000.0);
}

TEST_F(PipeWireChanges, WithoutMemoryForAnotherRatePlaybackGoesOn) {
  const ObjectId main = system->device("main");
  NumberedPlayer player(devices(), main);
  ASSERT_EQ(player.start(), 0);
  bool failed = true;
  for (int nth = 1; failed; ++nth) {
    const double other = system->rate(main) == 48000.0 ? 96000.0 : 48000.0;
    {
      const testing::AllocationFailer failer(nth);
      const DeviceStatus status = devices().set(main, kNominalRate, other);
      failed = failer.failed();
      EXPECT_TRUE(status != AUDEVICE_NO_MEMORY || failed);
    }
    expect_playing(player);
  }
}

TEST_F(PipeWireChanges, ADeviceThatGoesLetsTheComputerSleep) {
  NEED_LOGIN_SERVICE();
  const testing::LoginService service;
  ASSERT_TRUE(service.ready());
  if (!IdleSleepInhibitor().hold()) GTEST_SKIP() << "this build reaches no login service";
  ASSERT_TRUE(eventually([&] { return service.inhibitors("idle") == 0; }));
  NumberedPlayer player(devices(), system->device("other"));
  ASSERT_EQ(player.start(), 0);
  EXPECT_EQ(service.inhibitors("idle"), 1);
  server->remove("other");
  EXPECT_TRUE(eventually([&] { return service.inhibitors("idle") == 0; }));
}

TEST_F(PipeWireChanges, ARateThatWasSetBeforeIsThereFromTheStart) {
  const ObjectId main = system->device("main");
  ASSERT_EQ(devices().set(main, kNominalRate, 44100.0), 0);
  NumberedPlayer player(devices(), main);
  ASSERT_EQ(player.start(), 0);
  EXPECT_EQ(system->rate(main), 44100.0);
  const MonitorRecorder recorder(*server, "main", "FL,FR", 44100);
  testing::expect_exact([&] { return recorder.samples(); }, 2, 12000);
}

TEST_F(PipeWireChanges, AnotherBufferSizeIsToldAndUsed) {
  const ObjectId main = system->device("main");
  ASSERT_EQ(devices().set(main, kBufferFrames, 256u), 0);
  NumberedPlayer player(devices(), main);
  ASSERT_EQ(player.start(), 0);
  ASSERT_TRUE(eventually([&] { return player.frames == 256; }));
  EXPECT_EQ(system->frames(main), 256u);

  Ears ears(devices(), main, kBufferFrames);
  server->set("force-quantum", 512);
  ASSERT_TRUE(eventually([&] { return player.frames == 512 && ears.heard > 0; }));
  EXPECT_TRUE(eventually([&] { return system->frames(main) == 512u; }));
  server->set("force-quantum", 0);
  ASSERT_TRUE(eventually([&] { return player.frames == 256; }));
  ASSERT_TRUE(eventually([&] { return devices().set(main, kBufferFrames, 2048u) == 0; }));
  ASSERT_TRUE(eventually([&] { return player.frames == 2048 && system->frames(main) == 2048u; }));
}

TEST_F(PipeWireChanges, ADeviceThatGoesEndsItsIo) {
  const ObjectId other = system->device("other");
  NumberedPlayer player(devices(), other);
  Ears ears(devices(), kSystemObject, kDevices);
  ASSERT_EQ(player.start(), 0);
  expect_playing(player);
  server->remove("other");
  ASSERT_TRUE(eventually([&] { return ears.heard > 0 && system->device("other") == 0; }));
  const int cycles = player.cycles;
  EXPECT_EQ(player.start(), AUDEVICE_BAD_OBJECT);
  EXPECT_EQ(player.stop(), AUDEVICE_BAD_OBJECT);
  usleep(50000);
  EXPECT_EQ(player.cycles, cycles);
}

TEST_F(PipeWireChanges, WithTheDefaultSinkGonePlaybackGoesOnAtTheNext) {
  Follower follower(*system);
  ASSERT_EQ(follower.starts, 1);
  server->remove("main");
  ASSERT_TRUE(eventually([&] { return system->default_output() == system->device("other"); }));
  const MonitorRecorder recorder(*server, "other", "FL,FR");
  testing::expect_exact([&] { return recorder.samples(); }, 2, 12000);
}

TEST_F(PipeWireChanges, AServerThatWasKilledIsFoundAgain) {
  Follower follower(*system);
  const ObjectId main = system->device("main");
  server->kill();
  ASSERT_TRUE(eventually([&] { return system->default_output() == 0; }));
  ObjectId none = 0;
  EXPECT_EQ(devices().get(kSystemObject, kDefaultOutput, &none), AUDEVICE_NOT_RUNNING);
  EXPECT_TRUE(system->all().empty());
  double rate = 0.0;
  EXPECT_EQ(devices().get(main, kNominalRate, &rate), AUDEVICE_BAD_OBJECT);
  server->start();
  ASSERT_TRUE(eventually([&] { return system->default_output() != 0; }));
  EXPECT_NE(system->device("main"), main);
  const MonitorRecorder recorder(*server, "main", "FL,FR");
  testing::expect_exact([&] { return recorder.samples(); }, 2, 12000);
}

TEST_F(PipeWireChanges, WithoutASessionManagerStartingSaysSo) {
  const ObjectId main = system->device("main");
  NumberedPlayer player(devices(), main);
  server->kill_manager();
  ASSERT_TRUE(eventually([&] { return system->default_output() == 0; }));
  EXPECT_EQ(player.start(), AUDEVICE_NOT_RUNNING) << "nobody would connect it";
  EXPECT_EQ(devices().set(kSystemObject, kDefaultOutput, main), AUDEVICE_NOT_RUNNING);
}

TEST(PipeWireWithoutServer, SaysSoAndFindsItWhenItComes) {
  NEED_SOUND_SERVER();
  SoundServer server{SoundServer::NotYet()};
  SoundSystem system;
  ASSERT_EQ(system.choice.status, 0);
  ObjectId id = 0;
  std::uint32_t bytes = 0;
  EXPECT_EQ(system.devices.get(kSystemObject, kDefaultOutput, &id), AUDEVICE_NOT_RUNNING);
  EXPECT_EQ(system.devices.property_size(kSystemObject, kDevices, &bytes), AUDEVICE_NOT_RUNNING);
  EXPECT_EQ(system.devices.set(kSystemObject, kDefaultOutput, id), AUDEVICE_NOT_RUNNING);
  Ears ears(system.devices, kSystemObject, kDefaultOutput);
  server.start();
  EXPECT_TRUE(eventually([&] { return ears.heard > 0 && system.default_output() != 0; }));
}

TEST(PipeWireWithoutServer, OpensOnlyWithEnoughMemory) {
  const SoundServer nobody{SoundServer::NotYet()};
  ASSERT_EQ(choose_audio_backend("pipewire"), 0);
  const int failed = testing::fail_each_allocation([] {
    try {
      const AudioDevices devices;
      return true;
    } catch (const std::bad_alloc &) {
      return false;
    }
  });
  EXPECT_GE(failed, 1);
  EXPECT_EQ(choose_audio_backend(nullptr), 0);
}

}  // namespace
}  // namespace auspool::platform
