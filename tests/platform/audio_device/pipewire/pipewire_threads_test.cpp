// Many threads at one private sound server, under changes of every kind.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "support/sound_system.h"

namespace auspool::platform {
namespace {

using testing::eventually;
using testing::NumberedPlayer;
using testing::SoundTest;

class PipeWireThreads : public SoundTest {
protected:
  // Runs all at once, each again and again, until `changes` is over.
  void run_all(const std::vector<std::function<void()>> &works, const std::function<void()> &changes) {
    std::atomic<bool> done = false;
    std::vector<std::thread> threads;
    for (const auto &work : works) {
      threads.emplace_back([&] {
        while (!done) work();
      });
    }
    changes();
    done = true;
    for (std::thread &thread : threads) thread.join();
  }
};

// What was taken away is never called again: its client may be gone at once.
struct Client {
  static DeviceStatus hear(ObjectId, std::uint32_t, const PropertyAddress *, void *self) {
    EXPECT_TRUE(static_cast<Client *>(self)->alive);
    return 0;
  }
  static DeviceStatus run(ObjectId, const TimeStamp *, const BufferList *, const TimeStamp *, BufferList *,
                          const TimeStamp *, void *self) {
    auto &client = *static_cast<Client *>(self);
    EXPECT_TRUE(client.alive);
    ++client.cycles;
    return 0;
  }
  ~Client() { alive = false; }
  std::atomic<bool> alive = true;
  std::atomic<int> cycles = 0;
};

TEST_F(PipeWireThreads, StartStopListenAndSetWhileDevicesAndServersComeAndGo) {
  const auto play = [&] {
    Client client;
    IoProcId id = 0;
    const ObjectId device = system->default_output();
    if (devices().create_io_proc(device, Client::run, &client, &id) != 0) return;
    devices().start(device, id);
    if (client.cycles == 0) usleep(1000);
    devices().stop(device, id);
    devices().destroy_io_proc(device, id);
  };
  const auto listen = [&] {
    Client client;
    const ObjectId device = system->default_output();
    devices().add_listener(kSystemObject, kDefaultOutput, Client::hear, &client);
    devices().add_listener(device, kNominalRate, Client::hear, &client);
    usleep(500);
    devices().remove_listener(device, kNominalRate, Client::hear, &client);
    devices().remove_listener(kSystemObject, kDefaultOutput, Client::hear, &client);
  };
  std::uint32_t frames = 256;
  const auto change = [&] {
    frames = frames == 256 ? 512 : 256;
    devices().set(system->device("main"), kBufferFrames, frames);
    devices().set(system->device("other"), kNominalRate, frames == 256 ? 44100.0 : 48000.0);
    system->all();
  };
  run_all({play, play, listen, change}, [&] {
    for (int round = 0; round < 2; ++round) {
      server->add_sink("third", 2, "FL,FR", 900);
      server->set_default_sink("other");
      server->remove("third");
      server->kill();
      usleep(100000);
      server->start();
    }
  });
  ASSERT_TRUE(eventually([&] { return system->device("main") != 0; }));
  NumberedPlayer player(devices(), system->device("main"));
  EXPECT_TRUE(eventually([&] { return player.start() == 0; }));
  EXPECT_TRUE(eventually([&] { return player.cycles > 3; }));
}

TEST_F(PipeWireThreads, StoppingWaitsForTheProcThatRuns) {
  struct Slow {
    static DeviceStatus run(ObjectId, const TimeStamp *, const BufferList *, const TimeStamp *, BufferList *,
                            const TimeStamp *, void *self) {
      auto &slow = *static_cast<Slow *>(self);
      slow.inside = true;
      ++slow.cycles;
      usleep(20000);
      slow.inside = false;
      return 0;
    }
    std::atomic<bool> inside = false;
    std::atomic<int> cycles = 0;
  } slow;
  testing::Proc proc(devices(), system->device("main"), Slow::run, &slow);
  for (int i = 0; i < 5; ++i) {
    const int before = slow.cycles;
    ASSERT_EQ(proc.start(), 0);
    ASSERT_TRUE(eventually([&] { return slow.cycles > before && slow.inside; }));
    ASSERT_EQ(proc.stop(), 0);
    EXPECT_FALSE(slow.inside);
  }
}

}  // namespace
}  // namespace auspool::platform
