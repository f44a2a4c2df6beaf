// When the player waits, plays, runs empty and throws audio away, to the microsecond.
#include "auplayer/aupacketplayer/states.h"

#include <cmath>

#include "auplayer/aupacketplayer/player_fixture.h"

namespace auspool::testing {
namespace {

constexpr double kMicrosecond = 1e-6;

double keep(double remaining) {
  return std::exp2(-remaining / (2.0 * 44100.0));
}

TEST_F(PacketPlayer, GivesSilenceAndLogsNothingWhileItWaits) {
  aupacketplayer_start(player_);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(held_values_of(get_and_move(512)), (HeldValues{{0, 512}}));
  EXPECT_EQ(logged(), Lines{});
  EXPECT_EQ(state(), State::buffering);
}

TEST_F(PacketPlayer, TakesPacketsAndGivesSilenceUntilItIsStarted) {
  play(100, kStart);
  EXPECT_EQ(held_values_of(get_and_move(512)), (HeldValues{{0, 512}}));
  EXPECT_TRUE(has_packet(*player_));
  EXPECT_EQ(state(), State::created);
  EXPECT_EQ(logged(), Lines{});
}

TEST_F(PacketPlayer, BeginsWhenThePlayingTimeReachesTheFirstPacketToTheMicrosecond) {
  aupacketplayer_start(player_);
  play(1000, kStart + 0.25);
  clock_.move(0.25 - kMicrosecond);
  get(100);
  EXPECT_EQ(state(), State::buffering);
  clock_.move(kMicrosecond);
  EXPECT_EQ(held_values_of(get(100)), (HeldValues{{0, 2}, {1, 98}}));
  EXPECT_EQ(state(), State::playback);
  EXPECT_EQ(logged(), Lines{"1 switching to playback state node:100.250000 playback:100.250000"});
}

TEST_F(PacketPlayer, ThePlayingTimeIsTheClockTheLatencyAndTheAdjustment) {
  static double latency;
  latency = 0.125;
  aupacketplayer_callbacks callbacks = {};
  callbacks.get_latency = [](void *) { return latency; };
  aupacketplayer_set_callbacks(player_, callbacks);
  aupacketplayer_set_time_adjustment(player_, 0.0625);
  aupacketplayer_start(player_);
  play(1000, kStart + 0.1875);
  latency -= kMicrosecond;
  get(10);
  EXPECT_EQ(state(), State::buffering);
  latency += kMicrosecond;
  get(10);
  EXPECT_EQ(state(), State::playback);
  EXPECT_EQ(logged(), Lines{"1 switching to playback state node:100.187500 playback:100.187500"});
}

TEST_F(PacketPlayer, WithoutALatencyThePlayingTimeIsTheClockAndTheAdjustment) {
  aupacketplayer_set_callbacks(player_, {});
  aupacketplayer_set_time_adjustment(player_, -0.5);
  aupacketplayer_start(player_);
  play(1000, kStart);
  clock_.move(0.5 - kMicrosecond);
  get(10);
  EXPECT_EQ(state(), State::buffering);
  clock_.move(kMicrosecond);
  get(10);
  EXPECT_EQ(state(), State::playback);
}

TEST_F(PacketPlayer, SmoothsTheOffsetByTheAudioStillToBeFound) {
  begin(1000);
  EXPECT_EQ(player_->offset, 0.0);  // nothing was wanted
  get(300);
  EXPECT_EQ(player_->offset, 0.0);  // exactly in time
  clock_.move(0.01);                // the output is late
  get(500);                         // 500 of the 700 frames buffered: no offset moves, and no packet is missed
  EXPECT_EQ(player_->offset, 0.0);
  play(1000, kStart + 1000 / 44100.0);
  get(500);  // 300 of them are still to be found
  const double delta = kStart + 1000 / 44100.0 - now();
  EXPECT_EQ(player_->offset, (1.0 - keep(300)) * delta);
}

// Two seconds of audio to be found go half the way.
TEST_F(PacketPlayer, AnOffsetHalvesInTwoSecondsOfAudio) {
  begin(10);
  get(10);
  player_->offset = 0.04;
  player_->last_timestamp = kStart - 1;
  play(80000, kStart);
  get(88200);
  EXPECT_NEAR(player_->offset, 0.02, 1e-12);
}

TEST_F(PacketPlayer, APacketFortyMillisecondsAheadIsLeftToTheController) {
  aupacketplayer_set_pads_missing_audio(player_, 0);
  begin(100);
  get(100);
  play(5000, kStart + 0.04);
  const auto output = get(1000);
  EXPECT_EQ(state(), State::playback);
  EXPECT_EQ(held_values_of(output).back().value, 1.0f);
  EXPECT_NEAR(player_->offset, (1.0 - keep(1000)) * 0.04, 1e-12);
  EXPECT_EQ(logged(), Lines{});
}

TEST_F(PacketPlayer, ASmoothedOffsetAboveFiftyMillisecondsFallsBackToBuffering) {
  begin(100);
  get(100);
  const double timestamp = kStart + 10;
  play(5000, timestamp);
  player_->offset = 0.05 - 1e-4;
  EXPECT_EQ(held_values_of(get(1000)).back(), (HeldValue{0, 998}));
  EXPECT_EQ(state(), State::buffering);
  EXPECT_EQ(player_->offset, 0.0);
  EXPECT_EQ(player_->next_timestamp, 0.0);
  EXPECT_EQ(logged(),
            Lines{"1 Buffered packets are too new, oldest:110.000000 playing:100.000000, padding with silence"});
  clock_.move(10 - kMicrosecond);
  get(100);
  EXPECT_EQ(state(), State::buffering);
  clock_.move(kMicrosecond);
  get(100);
  EXPECT_EQ(state(), State::playback);
}

TEST_F(PacketPlayer, AnOffsetOfExactlyFiftyMillisecondsIsNotTooMuch) {
  begin(100);
  get(100);
  play(10, kStart + 0.5);
  for (const double offset : {0.05, -0.05}) {
    player_->offset = offset;
    get(0);
    EXPECT_EQ(state(), State::playback);
    EXPECT_EQ(player_->offset, offset);
  }
  EXPECT_EQ(logged(), Lines{});
  player_->offset = std::nextafter(-0.05, -1.0);
  get(0);
  EXPECT_EQ(logged(), Lines{"1 Throwing away packets to catch up"});
  player_->offset = std::nextafter(0.05, 1.0);
  get(0);
  EXPECT_EQ(state(), State::buffering);
}

TEST_F(PacketPlayer, ThrowsAwayWhatIsTooLateAndGoesOnFromThere) {
  aupacketplayer_set_pads_missing_audio(player_, 0);
  begin(100);
  get(100);
  clock_.move(1.0);
  for (int i = 0; i < 4; ++i) play(100, kStart + 0.97 + 0.01 * i, static_cast<float>(i + 2));
  player_->offset = -0.051;
  const auto output = get(50);
  EXPECT_EQ(logged(), Lines{"1 Throwing away packets to catch up"});
  EXPECT_EQ(held_values_of(output), (HeldValues{{1, 2}, {5, 48}}));  // the one that is due now
  EXPECT_EQ(player_->last_timestamp, kStart + 1.0);
  EXPECT_EQ(state(), State::playback);
}

// After it, evaluation starts again from an offset of 0, within the call: the next packet's time counts alone.
TEST_F(PacketPlayer, AfterThrowingAwayTheOffsetStartsFromZero) {
  begin(100);
  get(100);
  clock_.move(1.0);
  play(100, kStart + 0.5);
  play(100, kStart + 1.25);
  player_->offset = -0.06;
  get(200);
  EXPECT_EQ(player_->offset, (1.0 - keep(200)) * (kStart + 1.25 - now()));
  EXPECT_EQ(logged(), (Lines{"1 Throwing away packets to catch up", "1 Empty buffer!"}));
}

TEST_F(PacketPlayer, ThrowingAwayEverythingLeavesThePlayerEmpty) {
  begin(100);
  get(100);
  clock_.move(1.0);
  play(100, kStart + 0.5);
  play(100, kStart + 0.75);
  player_->offset = -0.06;
  EXPECT_EQ(held_values_of(get(200)).back(), (HeldValue{0, 198}));
  EXPECT_EQ(logged(), (Lines{"1 Throwing away packets to catch up", "1 Empty buffer!"}));
  EXPECT_EQ(state(), State::empty);
  EXPECT_EQ(player_->offset, 0.0);
}

// It may turn out in the same call that what is left is far too early.
TEST_F(PacketPlayer, CanThrowAwayAndFallBackInOneCall) {
  begin(100);
  get(100);
  clock_.move(1.0);
  play(100, kStart + 0.5);
  play(100, kStart + 1000);
  player_->offset = -0.06;
  get(100);
  EXPECT_EQ(logged(), (Lines{"1 Throwing away packets to catch up",
                             "1 Buffered packets are too new, oldest:1100.000000 playing:101.000000, padding with "
                             "silence"}));
}

TEST_F(PacketPlayer, RunsEmptyOnceAndGoesOnWithoutWaitingForTheTimestamp) {
  aupacketplayer_set_pads_missing_audio(player_, 0);
  begin(100);
  EXPECT_EQ(held_values_of(get_and_move(512)), (HeldValues{{0, 2}, {1, 100}, {0, 410}}));
  EXPECT_EQ(logged(), Lines{"1 Empty buffer!"});
  EXPECT_EQ(state(), State::empty);
  get_and_move(512);
  EXPECT_EQ(logged(), Lines{});
  play(100, now() + 0.04, 2.0f);
  EXPECT_EQ(held_values_of(get(100)), (HeldValues{{0, 2}, {2, 98}}));
  EXPECT_EQ(state(), State::playback);
}

// A whole second of lead shows within a second, and what is left of it is waited for.
TEST_F(PacketPlayer, AStreamThatResumesFarAheadPlaysEarlyForABitAndThenWaits) {
  begin(512);
  get_and_move(512);
  get_and_move(512);
  const double resumed = now(), timestamp = resumed + 1.0;
  for (int i = 0; i < 60; ++i) play(512, timestamp + i * 512 / 44100.0, 2.0f);
  logged();
  int early = 0;
  while (state() != State::buffering) {
    get_and_move(512);
    ASSERT_LT(++early, 60);
  }
  EXPECT_NEAR(early * 512 / 44100.0, 0.15, 0.05);
  EXPECT_EQ(logged().size(), 1u);
  while (state() == State::buffering) get_and_move(512);
  EXPECT_NEAR(now() - resumed, 1.0 + early * 512 / 44100.0, 2 * 512 / 44100.0);
}

// The audio of the call is complete, and still the heap is found empty.
TEST_F(PacketPlayer, RunsEmptyWithTheHeapAlsoWhenNothingIsWanted) {
  begin(100);
  get(50);
  EXPECT_EQ(logged(), Lines{});
  EXPECT_EQ(held_values_of(get(50)), (HeldValues{{1, 50}}));
  EXPECT_EQ(state(), State::empty);
  EXPECT_EQ(logged(), Lines{"1 Empty buffer!"});
  EXPECT_EQ(player_->sample_buffer_count, 0);
}

TEST_F(PacketPlayer, ANegativeCountIsNothing) {
  begin(100);
  float untouched = 5.0f;
  aupacketplayer_get_frames(player_, &untouched, -100, 44100.0f);
  EXPECT_EQ(untouched, 5.0f);
  EXPECT_EQ(state(), State::playback);
}

}  // namespace
}  // namespace auspool::testing
