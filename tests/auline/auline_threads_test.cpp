// A line on devices that run and change on threads of their own.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "auspool/auline.h"
#include "support/simulated_devices.h"

namespace auspool::testing {
namespace {

// What a host hangs on a line; it dies with the line stopped.
struct Ear {
  static void hear(void *self, const au_channel_pair *channels, std::int32_t frames, float rate) {
    auto &ear = *static_cast<Ear *>(self);
    EXPECT_TRUE(ear.alive);
    EXPECT_GT(rate, 0.0f);
    for (std::int32_t i = 0; i < frames; ++i) ear.sum += channels->left[i] + channels->right[i];
    ++ear.calls;
  }
  ~Ear() { alive = false; }
  std::atomic<bool> alive = true;
  std::atomic<int> calls = 0;
  float sum = 0;
};

TEST(LineThreads, IsStartedAndStoppedWhileDevicesChange) {
  SimulatedDevices devices;
  devices.stop_noting();
  std::atomic<std::uint32_t> first = devices.add_default_input(input_device(kPlanar));
  const std::uint32_t second = devices.add(input_device(kInterleaved));
  ausim_set_realtime(devices, 1);
  std::atomic<bool> over = false;
  std::thread changer([&] {
    for (std::mt19937 random(1); !over;) {
      devices.set_rate(random() % 2 ? first.load() : second, random() % 2 ? 44100 : 96000);
      ausim_set_default(devices, 1, random() % 2 ? first.load() : second);
      if (random() % 20 == 0) {
        ausim_remove_device(devices, first);
        first = devices.add(input_device(kPlanar));
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  });
  auline *const line = auline_create();
  std::atomic<bool> watching = true;
  std::thread watcher([&] {
    while (watching) {
      auline_is_active(line);
      std::this_thread::yield();
    }
  });
  int calls = 0;
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(600);
  for (std::mt19937 random(2); std::chrono::steady_clock::now() < end || calls == 0;) {
    Ear ear;
    AuLineOptions options = {};
    options.device = random() % 3 == 0 ? AULINE_NO_DEVICE : 0;
    options.buffer_frames = 16u << random() % 4;
    auline_set_options(line, &options);
    auline_start(line, Ear::hear, &ear);
    std::this_thread::sleep_for(std::chrono::milliseconds(random() % 12));
    auline_stop(line);
    calls += ear.calls;
  }
  watching = false;
  over = true;
  watcher.join();
  changer.join();
  auline_destroy(line);
  EXPECT_GT(calls, 0);
}

}  // namespace
}  // namespace auspool::testing
