// What the thread that gets frames may rely on: no call that can block, and blocks of any size.
#include <cmath>
#include <limits>
#include <random>

#include "auplayer/aupacketplayer/player_fixture.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

int lines;
void count_line(void *, std::int32_t, const char *, ...) {
  ++lines;
}

// Every road through a call: rejected, flushed, begun, played, padded, skipped, thrown away, empty, too new.
TEST_F(PacketPlayer, GettingFramesIsFitForARealTimeThread) {
  aupacketplayer_destroy(player_);
  std::vector<float> output(2 * 20000);
  const auto get_guarded = [&](std::int32_t frames) {
    const RealtimeGuard guard;
    aupacketplayer_get_frames(player_, output.data(), frames, 44100.0f);
  };
  lines = 0;
  player_ = aupacketplayer_create(16, count_line, nullptr, 44100.0f);
  aupacketplayer_start(player_);
  play(100, kStart);
  play(100, kStart);
  play(100, kStart + 0.02);
  play(100, -1.0);
  for (int i = 0; i < 9; ++i) play(10, kStart + 0.03 + i);
  get_guarded(512);
  EXPECT_EQ(player_->skip_derivative, 1u);
  get_guarded(20000);  // in pieces
  player_->offset = -1.0;
  clock_.move(5.0);
  get_guarded(512);
  player_->offset = 1.0;
  get_guarded(512);
  EXPECT_EQ(state(), State::buffering);
  aupacketplayer_flush(player_);
  get_guarded(512);
  play(81920, kStart + 20);
  play(10, kStart + 30);
  clock_.move(60);
  get_guarded(512);
  get_guarded(0);
  EXPECT_GE(lines, 7);
}

TEST_F(PacketPlayer, GettingFramesMakesNoSystemCall) {
  begin(1000);
  play(500, kStart + 1000 / 44100.0);
  float output[2 * 512];
  const auto get_some = [&] {
    for (int i = 0; i < 4; ++i) aupacketplayer_get_frames(player_, output, 512, 48000.0f);
  };
  player_->log_callback = nullptr;
  if (!run_without_system_calls(get_some)) GTEST_SKIP() << "system calls cannot be refused in this build";
  EXPECT_EQ(state(), State::empty);
}

// A block that does not fit the stack is made in pieces; nothing tells at its seams.
TEST_F(PacketPlayer, ABlockOfAnySizeIsContinuous) {
  aupacketplayer_start(player_);
  std::vector<float> ramp(2 * 80000);
  for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<float>(i / 2) / 131072.0f;
  aupacketplayer_play(player_, ramp.data(), 80000, kStart);
  const float rate = 96000.0f;
  const auto output = get(150000, rate);
  for (std::size_t i = 10; i < output.size(); ++i) {
    ASSERT_NEAR(output[i] - output[i - 1], 44100.0f / rate / 131072.0f, 1e-6f) << i;
  }
}

TEST_F(PacketPlayer, OneBlockIsWhatManySmallOnesAre) {
  const auto run = [&](std::int32_t frames) {
    aupacketplayer_destroy(player_);
    player_ = aupacketplayer_create(64, nullptr, nullptr, 44100.0f);
    aupacketplayer_set_resample_continuously(player_, 0);
    aupacketplayer_start(player_);
    for (int i = 0; i < 50; ++i) play(1000, kStart + i * 1000 / 44100.0, static_cast<float>(i));
    std::vector<float> all;
    while (all.size() < 48000) {
      const auto block = get(frames);
      all.insert(all.end(), block.begin(), block.end());
    }
    return all;
  };
  EXPECT_EQ(run(48000), run(480));
}

// Whatever the sampler holds from the rate before, a piece fits the stack.
TEST_F(PacketPlayer, BlocksAndRatesMayChangeAtWill) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> exponent(-2.99, 2.99);
  begin(1000);
  for (int i = 0; i < 300; ++i) {
    play(1000, kStart + (i + 1) * 1000 / 44100.0);
    get(static_cast<std::int32_t>(random() % 20000), static_cast<float>(44100.0 * std::pow(10.0, exponent(random))));
  }
}

TEST_F(PacketPlayer, RatesThatMakeNoSenseGiveNoHarm) {
  begin(1000);
  const float inf = std::numeric_limits<float>::infinity();
  float output[2 * 512];
  for (const float rate : {0.0f, -1.0f, 1e-30f, 1e30f, inf, -inf, std::nanf("")}) {
    for (const std::uint32_t resample : {0u, 1u}) {
      aupacketplayer_set_resample_continuously(player_, resample);
      aupacketplayer_get_frames(player_, output, 512, rate);
    }
  }
  aupacketplayer_set_resample_continuously(player_, 0);
  aupacketplayer_flush(player_);
  get(512);
  play(1000, kStart + 1);
  clock_.move(1);
  EXPECT_EQ(held_values_of(get(512)).back().value, 1.0f);
}

}  // namespace
}  // namespace auspool::testing
