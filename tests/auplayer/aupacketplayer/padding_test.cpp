// Gaps between packets: which become silence, and of what length.
#include "auplayer/aupacketplayer/player_fixture.h"

namespace auspool::testing {
namespace {

// At 44100 Hz the times are such that gaps of whole frames come out a bit above them.
constexpr double kRate = 44100.0;
constexpr double kHair = 1e-4;  // frames

class Gaps : public PacketPlayer {
protected:
  // What comes out after the first packet when the second leaves a gap, from the first frame that is not of the first.
  HeldValues play_with_gap(double frames) {
    aupacketplayer_start(player_);
    play(1000, kStart, 1.0f);
    play(1000, kStart + static_cast<double>(1000.0f / 44100.0f) + (frames + kHair) / kRate, 2.0f);
    HeldValues runs = held_values_of(get(1200));
    EXPECT_EQ(runs.at(0), (HeldValue{0, 2}));
    EXPECT_EQ(runs.at(1), (HeldValue{1, 1000}));
    runs.erase(runs.begin(), runs.begin() + 2);
    return runs;
  }
};

const HeldValues kNoPadding = {{2, 198}};

TEST_F(Gaps, Of300FramesAreNotPadded) {
  EXPECT_EQ(play_with_gap(300), kNoPadding);
  EXPECT_EQ(player_->skip_derivative, 0u);
}

TEST_F(Gaps, AreTruncatedToWholeFrames) {
  EXPECT_EQ(play_with_gap(300.9), kNoPadding);
}

TEST_F(Gaps, Of301FramesBecome301FramesOfSilence) {
  EXPECT_EQ(play_with_gap(301), (HeldValues{{0, 198}}));
  EXPECT_EQ(player_->skip_derivative, 1u);
  EXPECT_EQ(held_values_of(get(200)), (HeldValues{{0, 301 - 198}, {2, 97}}));
}

TEST_F(Gaps, Of44099FramesBecomeAsMuchSilence) {
  EXPECT_EQ(play_with_gap(44099.9 - kHair), (HeldValues{{0, 198}}));
  EXPECT_EQ(held_values_of(get(44000)), (HeldValues{{0, 44099 - 198}, {2, 99}}));
}

TEST_F(Gaps, Of44100FramesAreNotPadded) {
  EXPECT_EQ(play_with_gap(44100), kNoPadding);
}

TEST_F(Gaps, ThatAreNegativeAreNotPadded) {
  EXPECT_EQ(play_with_gap(-500), kNoPadding);
}

TEST_F(Gaps, AreNotPaddedWhenTheHostWantsNone) {
  aupacketplayer_set_pads_missing_audio(player_, 0);
  EXPECT_EQ(play_with_gap(5000), kNoPadding);
  EXPECT_EQ(player_->skip_derivative, 0u);
}

// The limits are frames, whatever the rate: 44100 frames are half a second at 88200 Hz.
TEST_F(Gaps, AreCountedInFramesAtAnyRate) {
  for (const auto &[frames, padded] : {std::pair(300, false), {301, true}, {44099, true}, {44100, false}}) {
    aupacketplayer_destroy(player_);
    player_ = aupacketplayer_create(4, nullptr, nullptr, 88200.0f);
    aupacketplayer_set_resample_continuously(player_, 0);
    aupacketplayer_start(player_);
    play(1000, kStart, 1.0f);
    play(1000, kStart + static_cast<double>(1000.0f / 88200.0f) + (frames + kHair) / 88200.0, 2.0f);
    EXPECT_EQ(held_values_of(get(1010, 88200.0f)).back().value, padded ? 0.0f : 2.0f) << frames;
  }
}

TEST_F(Gaps, AreUnknownAfterTheSwitchToPlayback) {
  begin(1000);
  get(1000);
  aupacketplayer_flush(player_);
  get(0);
  EXPECT_NE(player_->next_timestamp, 0.0);  // a flush leaves it
  clock_.move(0.5);
  play(1000, kStart + 0.5, 2.0f);  // 21050 frames later, and due
  EXPECT_EQ(held_values_of(get(100)), (HeldValues{{1, 2}, {2, 98}}));
}

// A clock that has just begun: unknown is not the time 0.
TEST_F(Gaps, AreUnknownBeforeTheFirstPacketWhateverTheClockSays) {
  clock_.ticks = 500'000'000;
  aupacketplayer_start(player_);
  play(1000, 0.5);
  EXPECT_EQ(held_values_of(get(100)), (HeldValues{{0, 2}, {1, 98}}));
}

// Padding ends a gap: the packet behind it is expected when it comes.
TEST_F(Gaps, ArePaddedOnce) {
  play_with_gap(400);
  get(402);
  EXPECT_EQ(held_values_of(get(500)), (HeldValues{{2, 500}}));
}

// The controller does not take the jump for drift.
TEST_F(Gaps, ThatWereFilledGiveTheControllerNoKick) {
  aupacketplayer_set_resample_continuously(player_, 1);
  play_with_gap(301);
  ASSERT_EQ(player_->skip_derivative, 1u);
  player_->offset = 0.01;
  player_->previous_error = -0.3;
  player_->error_sum = 7.0;
  const double before = player_->rate_correction;
  get(0);
  EXPECT_EQ(player_->error_sum, 7.0);  // neither the derivative nor the integral
  EXPECT_EQ(player_->previous_error, 0.01 / 0.05);
  EXPECT_EQ(player_->rate_correction, before * 0.9 + (0.01 * (0.01 / 0.05) + 1e-6 * 7.0) * 0.1);
  EXPECT_EQ(player_->skip_derivative, 0u);
}

TEST_F(Gaps, LongerThanACallAreFilledOverSeveral) {
  aupacketplayer_start(player_);
  play(100, kStart, 1.0f);
  play(100, kStart + 2100 / kRate + 1e-9, 2.0f);
  std::vector<float> all;
  for (int i = 0; i < 5; ++i) {
    const auto block = get_and_move(441);
    all.insert(all.end(), block.begin(), block.end());
  }
  EXPECT_EQ(held_values_of(all), (HeldValues{{0, 2}, {1, 100}, {0, 2000}, {2, 100}, {0, 3}}));
}

}  // namespace
}  // namespace auspool::testing
