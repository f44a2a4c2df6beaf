// The host's side: pushing audio, and what can be asked.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <thread>

#include "players.h"

namespace auspool::testing {
namespace {

template <typename Generation>
class PlayerPlay : public PlayerTest<Generation> {
protected:
  // A started player on a device that stands still.
  void SetUp() override { id = start(); }

  std::uint32_t start(std::uint32_t ring_frames = 0) {
    const std::uint32_t device = this->stereo();
    this->set_options([=](AuPlayerOptions &options) { options.ring_frames = ring_frames; });
    EXPECT_EQ(Generation::start(this->player), 0);
    return device;
  }

  int used() const { return rbuffer2_used_space(this->player->ring.get()); }

  std::uint32_t id = 0;
};
TYPED_TEST_SUITE(PlayerPlay, Generations, GenerationNames);

TYPED_TEST(PlayerPlay, ArrivesAtTheDevice) {
  const Samples left = noise(5 * 512, 1), right = noise(5 * 512, 2);
  for (std::ptrdiff_t at = 0; at < 5 * 512; at += 256) {
    const auto part = [at](const Samples &all) { return Samples(all.begin() + at, all.begin() + at + 256); };
    this->play(part(left), part(right));
  }
  EXPECT_EQ(this->heard(this->id, 2, 0), head(left, 1024));
  const Samples rest(right.begin() + 1024, right.end());
  EXPECT_EQ(this->heard(this->id, 3, 1), rest);
}

TYPED_TEST(PlayerPlay, AnUnderrunIsSilent) {
  this->play(Samples(700, 0.5f));
  const Samples heard = this->heard(this->id, 2);
  EXPECT_EQ(head(heard, 700), Samples(700, 0.5f));
  EXPECT_EQ(Samples(heard.begin() + 700, heard.end()), Samples(1024 - 700, 0.0f));
  this->play(Samples(512, 0.25f));
  EXPECT_EQ(this->heard(this->id, 1), Samples(512, 0.25f));
}

TYPED_TEST(PlayerPlay, WhatFindsNoRoomIsLostButCounted) {
  this->start(1000);
  this->play(Samples(1500, 0.5f));
  EXPECT_EQ(this->used(), 4000);
  EXPECT_NEAR(TypeParam::get_buffer_length(this->player), 1000 / 44100.0, 1e-6);
  EXPECT_NEAR(TypeParam::now_playing(this->player), 500 / 44100.0, 1e-6);
}

TYPED_TEST(PlayerPlay, ABlockAtANewRateThrowsAwayWhatWaits) {
  this->play(Samples(1000, 0.5f));
  this->play(Samples(100, 0.25f), 48000.0f);
  EXPECT_EQ(this->used(), 400);
  this->play(Samples(100, 0.25f), 48000.0f);
  EXPECT_EQ(this->used(), 800);
}

TYPED_TEST(PlayerPlay, TheRateIs44100AgainAfterAStart) {
  this->play(Samples(100), 48000.0f);
  this->start();
  EXPECT_EQ(this->player->source_rate, 44100.0f);
  this->play(Samples(100), 44100.0f);
  this->play(Samples(50), 48000.0f);
  EXPECT_EQ(this->used(), 200) << "flushed, for the rate has changed";
}

TYPED_TEST(PlayerPlay, ARateThatIsNoNumberFlushesEachTime) {
  this->play(Samples(100), NAN);
  this->play(Samples(100), NAN);
  EXPECT_EQ(this->used(), 400);
}

TYPED_TEST(PlayerPlay, WhileTheRingIsBeingResizedABlockIsDroppedWithoutTrace) {
  this->play(Samples(100));
  const float before = TypeParam::now_playing(this->player);
  {
    const std::lock_guard resizing(this->player->lock);
    std::thread([&] { this->play(Samples(44100)); }).join();
  }
  EXPECT_EQ(this->used(), 400);
  EXPECT_EQ(TypeParam::now_playing(this->player), before);
}

TYPED_TEST(PlayerPlay, AfterAStopOnlyThePositionMoves) {
  TypeParam::stop(this->player);
  const double before = this->player->play_position;
  this->play(Samples(4410));
  EXPECT_EQ(this->used(), 0);
  EXPECT_DOUBLE_EQ(this->player->play_position - before, 0.1);
  EXPECT_EQ(TypeParam::now_playing(this->player), 0.0f);
}

// ---- Position ----

TYPED_TEST(PlayerPlay, PositionIsWhatWasPlayedLessWhatWaitsAndTheLatency) {
  this->play(Samples(44100));
  EXPECT_EQ(TypeParam::now_playing(this->player), 0.0f) << "all of it waits";
  ausim_run(this->devices, this->id, 10);
  const double latency = static_cast<double>(TypeParam::device_latency(this->player));
  EXPECT_NEAR(latency, 512 / 44100.0, 1e-6);
  EXPECT_NEAR(TypeParam::now_playing(this->player), 5120 / 44100.0 - latency, 1e-5);
}

TYPED_TEST(PlayerPlay, PositionIsNeverBelow0) {
  this->player->latency = 10.0f;
  this->play(Samples(4410));
  EXPECT_EQ(TypeParam::now_playing(this->player), 0.0f);
}

TYPED_TEST(PlayerPlay, PositionIs0WhileInactive) {
  this->play(Samples(4410));
  ausim_run(this->devices, this->id, 4);
  EXPECT_GT(TypeParam::now_playing(this->player), 0.0f);
  TypeParam::stop(this->player);
  EXPECT_EQ(TypeParam::now_playing(this->player), 0.0f);
}

// In float, an hour of such blocks would be 31 seconds off.
TYPED_TEST(PlayerPlay, PositionStaysExactOverAnHour) {
  this->set_options([](AuPlayerOptions &options) { options.device = AUPLAYER_NO_DEVICE; });
  TypeParam::start(this->player);
  const Samples block(64);
  constexpr int kBlocks = 3600 * (44100 / 64);
  for (int i = 0; i < kBlocks; ++i) this->play(block);
  EXPECT_FLOAT_EQ(TypeParam::now_playing(this->player), kBlocks * 64 / 44100.0f);
}

TYPED_TEST(PlayerPlay, LatencyStaysThroughStopAndStart) {
  ausim_run(this->devices, this->id, 1);
  const float latency = TypeParam::device_latency(this->player);
  EXPECT_GT(latency, 0.0f);
  TypeParam::stop(this->player);
  EXPECT_EQ(TypeParam::device_latency(this->player), latency);
  TypeParam::start(this->player);
  EXPECT_EQ(TypeParam::device_latency(this->player), latency);
}

// ---- The end ----

TYPED_TEST(PlayerPlay, IsPlayingUntilTheRingHasRunOut) {
  EXPECT_TRUE(TypeParam::is_playing(this->player)) << "more may come";
  this->play(Samples(700));
  TypeParam::play_done(this->player);
  EXPECT_TRUE(TypeParam::is_playing(this->player));
  ausim_run(this->devices, this->id, 1);
  EXPECT_TRUE(TypeParam::is_playing(this->player));
  ausim_run(this->devices, this->id, 1);
  EXPECT_FALSE(TypeParam::is_playing(this->player));
  EXPECT_TRUE(TypeParam::is_active(this->player));
}

TYPED_TEST(PlayerPlay, IsNotPlayingWhenInactive) {
  TypeParam::stop(this->player);
  EXPECT_FALSE(TypeParam::is_playing(this->player));
}

// ---- Waiting ----

template <typename Generation>
class PlayerWait : public PlayerPlay<Generation> {
protected:
  void begin_waiting(std::uint32_t frames, float rate = 44100.0f) {
    waiting = std::thread([this, frames, rate] {
      Samples block(frames, 0.5f);
      Generation::play_wait(this->player, {block.data(), block.data()}, frames, rate);
      done = true;
    });
  }
  void run_until_done() {
    while (!done) {
      ausim_run(this->devices, this->id, 1);
      std::this_thread::yield();
    }
    waiting.join();
  }

  std::thread waiting;
  std::atomic<bool> done = false;
};
TYPED_TEST_SUITE(PlayerWait, Generations, GenerationNames);

TYPED_TEST(PlayerWait, GoesOnAtOnceWhereThereIsRoom) {
  Samples block(1000, 0.5f);
  TypeParam::play_wait(this->player, {block.data(), block.data()}, 1000, 44100.0f);
  EXPECT_EQ(this->used(), 4000);
}

TYPED_TEST(PlayerWait, WaitsForRoomAndLosesNothing) {
  this->id = this->start(1000);
  this->play(Samples(1000, 0.25f));
  this->begin_waiting(600);
  Samples heard;
  while (!this->done) {
    const Samples more = this->heard(this->id, 1);
    heard.insert(heard.end(), more.begin(), more.end());
    std::this_thread::yield();
  }
  this->waiting.join();
  const Samples more = this->heard(this->id, 4);
  heard.insert(heard.end(), more.begin(), more.end());
  EXPECT_EQ(head(heard, 1000), Samples(1000, 0.25f));
  EXPECT_EQ(std::ranges::count(heard, 0.5f), 600);
}

TYPED_TEST(PlayerWait, BeforeANewRateWaitsForTheOldAudioToLeave) {
  std::vector<int> left_bytes;
  this->devices.on_output = [&](auto, auto) { left_bytes.push_back(this->used()); };
  this->play(Samples(2000, 0.25f));
  this->begin_waiting(300, 48000.0f);
  while (this->used() > 1024) {
    EXPECT_EQ(this->player->source_rate, 44100.0f);
    ausim_run(this->devices, this->id, 1);
  }
  this->waiting.join();
  EXPECT_EQ(this->player->source_rate, 48000.0f);
  EXPECT_EQ(this->used(), 1200) << "the remainder is given up";
  this->devices.on_output = nullptr;
}

TYPED_TEST(PlayerWait, GivesUpUpTo1024BytesOfTheOldRate) {
  this->play(Samples(256, 0.25f));  // 1024 bytes
  Samples block(300);
  TypeParam::play_wait(this->player, {block.data(), block.data()}, 300, 48000.0f);
  EXPECT_EQ(this->used(), 1200);
}

TYPED_TEST(PlayerWait, With1025BytesOfTheOldRateWaits) {
  this->play(Samples(257, 0.25f));  // 1028 bytes
  this->begin_waiting(300, 48000.0f);
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(this->done);
  this->run_until_done();
}

TYPED_TEST(PlayerWait, EndsWithoutPlayingAfterPlayDone) {
  this->id = this->start(1000);
  this->play(Samples(1000));
  this->begin_waiting(600);
  TypeParam::play_done(this->player);
  this->waiting.join();
  EXPECT_EQ(this->used(), 4000);
  EXPECT_FLOAT_EQ(static_cast<float>(this->player->play_position), 1000 / 44100.0f);
}

TYPED_TEST(PlayerWait, APlayDoneInTheWaitForTheOldRateEndsIt) {
  this->play(Samples(2000));
  this->begin_waiting(600, 48000.0f);
  TypeParam::play_done(this->player);
  this->waiting.join();
  EXPECT_EQ(this->used(), 8000);
}

TYPED_TEST(PlayerWait, AfterAStopHandsTheBlockOnAllTheSame) {
  this->play(Samples(65536));
  this->begin_waiting(44100);
  TypeParam::stop(this->player);
  this->waiting.join();
  EXPECT_EQ(this->used(), 0);
}

// Literally for ever: what ends it is the host.
TYPED_TEST(PlayerWait, ABlockLargerThanTheRingWaitsForTheHostToEndIt) {
  this->id = this->start(1000);
  for (const bool stop : {false, true}) {
    this->done = false;
    TypeParam::start(this->player);
    this->begin_waiting(1001);
    for (int i = 0; i < 20; ++i) {
      ausim_run(this->devices, this->id, 1);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_FALSE(this->done);
    stop ? TypeParam::stop(this->player) : TypeParam::play_done(this->player);
    this->waiting.join();
    EXPECT_TRUE(this->done);
  }
}

TYPED_TEST(PlayerWait, WithAnAudioCallbackThereIsNeverRoom) {
  const PullCallback callback = [](float *, int, double) {};
  TypeParam::set_callback(this->player, &callback);
  TypeParam::start(this->player);
  this->begin_waiting(1);
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_FALSE(this->done);
  TypeParam::stop(this->player);
  this->waiting.join();
}

// ---- Strides, which only the second generation has ----

class PlayerStride : public PlayerTest<SecondGeneration> {
protected:
  // Plays with a stride from the middle of a block, and gives both sides.
  std::vector<std::pair<float, float>> played(std::int32_t stride, std::uint32_t frames) {
    const std::uint32_t id = stereo();
    auplayer2_start(player);
    Samples block(5000);
    for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<float>(i);
    const au_channel_pair channels = {block.data() + 2500, block.data() + 2501};
    auplayer2_play(player, &channels, stride, frames, 44100.0f);
    std::vector<std::pair<float, float>> all;
    devices.on_output = [&](std::span<const ausim_buffer> buffers, std::uint32_t count) {
      const auto *const data = static_cast<const float *>(buffers[0].data);
      for (std::uint32_t i = 0; i < count; ++i) all.emplace_back(data[2 * i], data[2 * i + 1]);
    };
    ausim_run(devices, id, 3);
    devices.on_output = nullptr;
    all.resize(frames);
    return all;
  }
};

TEST_F(PlayerStride, TakesEachSampleInItsPlace) {
  for (const std::int32_t stride : {1, 2, 3, 0, -2}) {
    const auto frames = played(stride, 700);
    for (int i = 0; i < 700; ++i) {
      ASSERT_EQ(frames[static_cast<std::size_t>(i)].first, static_cast<float>(2500 + i * stride)) << stride;
      ASSERT_EQ(frames[static_cast<std::size_t>(i)].second, static_cast<float>(2501 + i * stride));
    }
  }
}

}  // namespace
}  // namespace auspool::testing
