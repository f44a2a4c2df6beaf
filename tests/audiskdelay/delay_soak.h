// A delay that all its threads use at once.
#pragma once

#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "audiskdelay/delay_frames.h"
#include "audiskdelay/generations.h"
#include "support/login_service.h"

namespace auspool::testing {

template <typename Generation>
class DelaySoak : public ::testing::Test {
protected:
  using G = Generation;

  // A writer, a reader, and threads that set and ask, for so long; of the second generation the computer sleeps and
  // wakes meanwhile. Every frame that is read is one that was written, and within a block they come in order.
  void soak(std::chrono::milliseconds span) {
    const NoBus no_bus;
    delay = G::create(20, 48000);
    ASSERT_TRUE(delay);
    std::vector<std::thread> threads;
    for (const auto job : {&DelaySoak::write, &DelaySoak::read, &DelaySoak::set, &DelaySoak::ask, &DelaySoak::sleep})
      threads.emplace_back([this, job] {
        for (std::mt19937 random(1); !over;) (this->*job)(random);
      });
    std::this_thread::sleep_for(span);
    over = true;
    for (std::thread &thread : threads) thread.join();
    G::destroy(delay);
    EXPECT_EQ(wrong, 0u);
    EXPECT_GT(frames_read, 0u);
  }

  static void pause(std::mt19937 &random, int most_microseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(random() % static_cast<unsigned>(most_microseconds)));
  }

  void write(std::mt19937 &random) {
    const int frames = static_cast<int>(random() % 1000);
    const bool silent = random() % 100 < 30;
    std::vector<float> block(static_cast<std::size_t>(2 * frames));
    for (int i = 0; i < frames && !silent; ++i) put_frame(&block[static_cast<std::size_t>(2 * i)], ++written);
    G::write(delay, block.data(), frames);
    pause(random, 8000);
  }

  void read(std::mt19937 &random) {
    std::vector<float> block(2 * 1000);
    const int count = G::read(delay, block.data(), static_cast<int>(random() % 1000));
    std::int64_t before = 0;
    for (int i = 0; i < count && !writeonly && !was_writeonly; ++i) {
      const std::int64_t number = number_of(&block[static_cast<std::size_t>(2 * i)]);
      if (number < 0 || (number > 0 && number <= before)) ++wrong;
      if (number > 0) before = number;
    }
    was_writeonly = writeonly;
    frames_read += static_cast<std::uint64_t>(count);
    pause(random, 6000);
  }

  void set(std::mt19937 &random) {
    G::set(delay, static_cast<float>(random() % 30));
    pause(random, 20000);
    if (random() % 20 != 0) return;
    writeonly = true;
    G::set_writeonly(delay, 1);
    pause(random, 5000);
    G::set_writeonly(delay, 0);
    writeonly = false;
    pause(random, 5000);
  }

  void ask(std::mt19937 &random) {
    float most = 0, real = 0;
    const float seconds = G::info(delay, &most, &real);
    if (!(seconds >= 0 && real >= seconds && most == 20)) ++wrong;
    if (!(G::max(delay) <= 20)) ++wrong;
    if constexpr (!G::kSleeps) tag();
    pause(random, 5000);
  }

  void sleep(std::mt19937 &random) {
    pause(random, 50000);
    if constexpr (G::kSleeps) {
      audiskdelay::power_callback(delay, platform::kIOMessageSystemWillSleep);
      pause(random, 5000);
      audiskdelay::power_callback(delay, platform::kIOMessageSystemWillPowerOn);
    }
  }

  void tag() {
    static char value;
    float seconds = 0;
    (void)audiskdelay_add_oob_value(delay, &value, [](void *, void *) {});
    (void)audiskdelay_get_oob_value(delay);
    (void)audiskdelay_prev_oob_value(delay, &seconds);
    (void)audiskdelay_next_oob_value(delay, &seconds);
  }

  decltype(G::create(0, 0)) delay = nullptr;
  std::atomic<bool> over = false, writeonly = false;
  bool was_writeonly = false;  // the reader's
  std::uint64_t written = 0;   // the writer's
  std::atomic<std::uint64_t> wrong = 0, frames_read = 0;
};

}  // namespace auspool::testing
