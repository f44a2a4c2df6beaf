#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/clock.h"
#include "platform/timer.h"

namespace auspool::platform {
namespace {

// A task that primes itself again and notes when it was due.
struct Metronome {
  static void tick(void *self) {
    auto &metronome = *static_cast<Metronome *>(self);
    EXPECT_GE(clock_ticks(), metronome.timer.due()) << "never early";
    metronome.due.push_back(metronome.timer.due());
    if (metronome.due.size() % 7 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(3));
    ++metronome.ticks;
    if (metronome.ticks < metronome.wanted) metronome.timer.prime(metronome.period);
  }
  void wait() const {
    while (ticks < wanted) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }

  Timer timer;
  double period = 256 / 44100.0 / 8;
  std::atomic<int> wanted = 0;
  std::atomic<int> ticks = 0;
  std::vector<std::uint64_t> due;
};

TEST(Timer, KeepsItsPaceHoweverLateRunsAre) {
  Metronome metronome;
  metronome.wanted = 200;
  ASSERT_TRUE(metronome.timer.install(Metronome::tick, &metronome));
  metronome.timer.prime(metronome.period);
  metronome.wait();
  metronome.timer.remove();
  for (std::size_t i = 0; i < metronome.due.size(); ++i) {
    const double expected = static_cast<double>(i) * metronome.period * 1e9;
    EXPECT_NEAR(static_cast<double>(metronome.due[i] - metronome.due[0]), expected, 2.0) << i;
  }
}

TEST(Timer, RunsOnceForEachPriming) {
  Metronome metronome;
  metronome.wanted = 1;
  ASSERT_TRUE(metronome.timer.install(Metronome::tick, &metronome));
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_EQ(metronome.ticks, 0);
  metronome.timer.prime(0.001);
  metronome.wait();
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_EQ(metronome.ticks, 1);
  metronome.wanted = 2;
  metronome.timer.prime(-1.0);  // at once
  metronome.wait();
  metronome.timer.remove();
  metronome.timer.remove();
}

TEST(Timer, DoesNotRunAfterItsRemoval) {
  for (int i = 0; i < 200; ++i) {
    auto metronome = std::make_unique<Metronome>();
    metronome->wanted = 1000000;
    metronome->period = 1e-6;
    ASSERT_TRUE(metronome->timer.install(Metronome::tick, metronome.get()));
    metronome->timer.prime(1e-6);
    if (i % 2) std::this_thread::yield();
    metronome->timer.remove();
  }
}

TEST(Timer, IsRemovedWhileItWaits) {
  Metronome metronome;
  ASSERT_TRUE(metronome.timer.install(Metronome::tick, &metronome));
  metronome.timer.prime(3600);
  metronome.timer.remove();
  EXPECT_EQ(metronome.ticks, 0);
  ASSERT_TRUE(metronome.timer.install(Metronome::tick, &metronome)) << "and may be used again";
  metronome.wanted = 1;
  metronome.timer.prime(0);
  metronome.wait();
  metronome.timer.remove();
}

}  // namespace
}  // namespace auspool::platform
