// Producers, a control thread and the thread that gets frames, all at once.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "auspool/auclock.h"
#include "auspool/aupacketplayer.h"
#include "support/hand_clock.h"

namespace auspool::testing {
namespace {

constexpr std::uint32_t kFrames = 64;

struct Destroy {
  void operator()(aupacketplayer *player) const { aupacketplayer_destroy(player); }
};

TEST(PacketPlayerThreads, OneQueuesAndOneGetsFrames) {
  HandClock clock;
  clock.move(100);  // and stands there, so that no packet is ever late
  const std::unique_ptr<aupacketplayer, Destroy> player(aupacketplayer_create(4096, nullptr, nullptr, 44100.0f));
  aupacketplayer_set_resample_continuously(player.get(), 0);
  aupacketplayer_start(player.get());
  constexpr int kPackets = 3000;
  const double start = au_now();
  std::thread producer([&] {
    std::vector<float> audio(2 * kFrames, 1.0f);
    for (int i = 0; i < kPackets; ++i) {
      aupacketplayer_play(player.get(), audio.data(), kFrames, start + i * 1e-9);
      if (i % 16 == 0) std::this_thread::yield();
    }
  });
  std::int64_t heard = 0;
  std::vector<float> output(2 * kFrames);
  const auto get = [&] {
    aupacketplayer_get_frames(player.get(), output.data(), kFrames, 44100.0f);
    for (const float sample : output) heard += sample == 1.0f;
  };
  std::thread consumer([&] {
    while (heard < std::int64_t{2} * kPackets * kFrames) get();
  });
  producer.join();
  consumer.join();
  EXPECT_EQ(heard, std::int64_t{2} * kPackets * kFrames);
}

TEST(PacketPlayerThreads, ProducersFlushesAndSettingsMeetTheOutput) {
  const std::unique_ptr<aupacketplayer, Destroy> player(aupacketplayer_create(64, nullptr, nullptr, 44100.0f));
  std::atomic<bool> done = false;
  std::thread output([&] {
    std::vector<float> block(2 * 512);
    while (!done) aupacketplayer_get_frames(player.get(), block.data(), 512, 48000.0f);
  });
  std::vector<std::thread> others;
  for (int producer = 0; producer < 2; ++producer) {
    others.emplace_back([&] {
      const std::vector<float> audio(2 * kFrames, 1.0f);
      for (int i = 0; i < 5000; ++i) aupacketplayer_play(player.get(), audio.data(), kFrames, au_now() + 0.001);
    });
  }
  others.emplace_back([&] {
    for (int i = 0; i < 500; ++i) aupacketplayer_flush(player.get());
  });
  double seen = 0.0;
  for (std::uint32_t i = 0; i < 5000; ++i) {
    aupacketplayer_start(player.get());
    aupacketplayer_set_pads_missing_audio(player.get(), i & 1);
    aupacketplayer_set_resample_continuously(player.get(), i & 2);
    aupacketplayer_set_time_adjustment(player.get(), i * 1e-6);
    seen += aupacketplayer_get_status(player.get()).rate_correction;
    aupacketplayer_set_gain(player.get(), aupacketplayer_get_gain(player.get()));
    aupacketplayer_stop(player.get());
  }
  for (std::thread &thread : others) thread.join();
  done = true;
  output.join();
  EXPECT_NE(aupacketplayer_get_status(player.get()).state, std::uint32_t{AuPacketPlayerCreated});
  EXPECT_EQ(seen, seen);
}

}  // namespace
}  // namespace auspool::testing
