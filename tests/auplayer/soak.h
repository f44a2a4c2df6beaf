// A player that many threads use at once.
#pragma once

#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "players.h"

namespace auspool::testing {

template <typename Generation>
class PlayerSoak : public PlayerTest<Generation> {
protected:
  using G = Generation;

  // Runs each of these again and again on a thread of its own.
  // Nobody starts the player again once the first has ended: who waits to play then need not.
  void soak(std::chrono::milliseconds span, std::initializer_list<std::function<void(std::mt19937 &)>> jobs) {
    std::atomic<bool> over = false;
    std::vector<std::thread> threads;
    for (const auto &job : jobs) {
      threads.emplace_back([&over, job, seed = threads.size()] {
        for (std::mt19937 random(static_cast<unsigned>(seed)); !over;) {
          job(random);
          std::this_thread::yield();
        }
      });
    }
    std::this_thread::sleep_for(span);
    over = true;
    for (std::thread &thread : threads) {
      thread.join();
      G::play_done(this->player);
    }
  }

  // Start, stop, play, gain and changes of devices from four threads, with IO and listeners on the backend's own. In
  // the end it plays as ever.
  void share_a_player(std::chrono::milliseconds span) {
    this->devices.stop_noting();
    ausim_set_realtime(this->devices, 1);
    soak(span,
         {[this](std::mt19937 &random) { control(random); }, [this](std::mt19937 &random) { play_some(random); },
          [this](std::mt19937 &random) { ask(random); }, [this](std::mt19937 &random) { change_devices(random); }});
    G::set_callback(this->player, nullptr);
    this->set_options([](AuPlayerOptions &options) { options = {}; });
    ausim_set_realtime(this->devices, 0);
    ausim_set_default(this->devices, 0, first);
    this->devices.set_rate(first, 44100);
    ASSERT_EQ(G::start(this->player), 0);
    G::set_gain(this->player, 1.0f);
    this->play(Samples(256, 0.5f));
    EXPECT_EQ(head(this->heard(first, 8), 256), Samples(256, 0.5f)) << "it still plays";
  }

  // A player is made, started and destroyed while the devices change.
  void end_players_while_devices_change(std::chrono::milliseconds span) {
    this->devices.stop_noting();
    ausim_set_realtime(this->devices, 1);
    soak(span, {[this](std::mt19937 &random) { change_devices(random); },
                [](std::mt19937 &) {
                  auto *const other = G::create();
                  G::start(other);
                  std::this_thread::yield();
                  G::destroy(other);
                }});
  }

  void control(std::mt19937 &random) {
    this->set_options([&](AuPlayerOptions &options) {
      options.device = random() % 8 == 0 ? AUPLAYER_NO_DEVICE : 0;
      options.io_buffer_frames = 64u << random() % 3;
      options.ring_frames = static_cast<std::uint32_t>(random() % 4 * 1000);
    });
    random() % 3 == 0 ? G::stop(this->player) : static_cast<void>(G::start(this->player));
    if (random() % 8 == 0) G::set_callback(this->player, random() % 2 ? &callback : nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(random() % 10));
  }

  void play_some(std::mt19937 &random) {
    const Samples block(random() % 600, 0.5f);
    const float rate = random() % 50 == 0 ? 48000.0f : 44100.0f;
    if (random() % 10 != 0) return this->play(block, rate);
    auto *const samples = const_cast<float *>(block.data());
    G::play_wait(this->player, {samples, samples}, static_cast<std::uint32_t>(block.size()), rate);
  }

  void ask(std::mt19937 &random) {
    G::set_gain(this->player, static_cast<float>(random() % 100) * 0.01f);
    sum = sum + G::get_gain(this->player) + G::now_playing(this->player) + G::device_latency(this->player) +
          G::get_buffer_length(this->player) + static_cast<float>(G::is_playing(this->player)) +
          static_cast<float>(G::device(this->player)) + static_cast<float>(G::is_active(this->player));
    if (random() % 100 == 0) G::play_done(this->player);
  }

  void change_devices(std::mt19937 &random) {
    const std::uint32_t rates[] = {44100, 48000, 96000};
    const std::uint32_t device = random() % 2 ? first : second;
    if (random() % 2 == 0) {
      ausim_set_default(this->devices, 0, random() % 5 == 0 ? 0 : device);
    } else {
      this->devices.set_rate(device, rates[random() % 3]);
    }
    if (random() % 20 == 0) {
      ausim_remove_device(this->devices, second);
      second = this->devices.add(output_device(kPlanar));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(random() % 3));
  }

  std::uint32_t first = this->stereo(), second = this->devices.add(output_device(kPlanar));
  PullCallback callback = [](float *interleaved, int count, double) { std::fill_n(interleaved, 2 * count, 0.1f); };
  float sum = 0;
};
}  // namespace auspool::testing
