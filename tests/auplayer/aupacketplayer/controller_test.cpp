// The controller's steps, by the book.
#include "auplayer/aupacketplayer/controller.h"

#include <algorithm>
#include <limits>
#include <random>

#include "auplayer/aupacketplayer/player_fixture.h"

namespace auspool::testing {
namespace {

class Controller : public PacketPlayer {
protected:
  void SetUp() override {
    PacketPlayer::SetUp();
    aupacketplayer_set_resample_continuously(player_, 1);
  }
};

TEST_F(Controller, IsOffWhenTheHostWantsNoResampling) {
  aupacketplayer_set_resample_continuously(player_, 0);
  player_->offset = 0.04;
  player_->skip_derivative = 1;
  player_->rate_correction = 0.01;
  EXPECT_EQ(next_output_rate(*player_, 48000.0f), 48000.0f);
  EXPECT_EQ(player_->error_sum, 0.0);
  EXPECT_EQ(player_->previous_error, 0.0);
  EXPECT_EQ(player_->rate_correction, 0.01);
  EXPECT_EQ(player_->skip_derivative, 1u);
}

TEST_F(Controller, TakesTheStatedStep) {
  player_->offset = 0.01;
  player_->error_sum = 5.0;
  player_->previous_error = 0.1;
  player_->rate_correction = 1e-3;
  const double e = 0.01 / 0.05, sum = 5.0 + e;
  const double correction = 1e-3 * 0.9 + (0.01 * e + 1e-6 * sum + (e - 0.1) * 3.0) * 0.1;
  EXPECT_EQ(next_output_rate(*player_, 48000.0f), static_cast<float>((1 + correction) * 48000));
  EXPECT_EQ(player_->error_sum, sum);
  EXPECT_EQ(player_->previous_error, e);
  EXPECT_EQ(player_->rate_correction, correction);
}

TEST_F(Controller, BoundsTheIntegral) {
  player_->error_sum = 49999.9;
  player_->offset = 0.05;
  next_output_rate(*player_, 44100.0f);
  EXPECT_EQ(player_->error_sum, 50000.0);
  player_->error_sum = -49999.9;
  player_->offset = -0.05;
  next_output_rate(*player_, 44100.0f);
  EXPECT_EQ(player_->error_sum, -50000.0);
}

TEST_F(Controller, NeverLeavesTheBandOfFivePercent) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> offsets(-0.05, 0.05), rates(8000, 192000);
  float lowest = 2, highest = 0;
  for (int i = 0; i < 100000; ++i) {
    player_->offset = offsets(random);
    const auto rate = static_cast<float>(rates(random));
    const float out = next_output_rate(*player_, rate);
    ASSERT_GE(out, rate * 42000.0f / 44100.0f);
    ASSERT_LE(out, 44100.0f * rate / 42000.0f);
    lowest = std::min(lowest, out / rate);
    highest = std::max(highest, out / rate);
  }
  EXPECT_NEAR(lowest, 42000.0 / 44100.0, 1e-6);  // and both bounds are met
  EXPECT_NEAR(highest, 44100.0 / 42000.0, 1e-6);
}

TEST_F(Controller, GivesARateOfTheBandEvenForNoNumber) {
  player_->rate_correction = std::nan("");
  EXPECT_EQ(next_output_rate(*player_, 44100.0f), 42000.0f);
}

// A latency that is no number for a while must not stay in the average for good.
TEST_F(Controller, AnOffsetThatIsNotFiniteMovesNothing) {
  begin(1000);
  for (const double wrong : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    for (const std::uint32_t remaining : {0u, 500u}) {
      player_->offset = 0.01;
      smooth_offset(*player_, wrong, remaining);
      smooth_offset(*player_, -wrong, remaining);
      EXPECT_EQ(player_->offset, 0.01);
    }
  }
}

TEST_F(Controller, SurvivesAnAdjustmentThatIsNoNumber) {
  begin(1000);
  play(10000, kStart + 1000 / 44100.0);
  aupacketplayer_set_time_adjustment(player_, std::numeric_limits<double>::quiet_NaN());
  get(2000);
  get(2000);
  aupacketplayer_set_time_adjustment(player_, 0.0);
  get(2000);
  EXPECT_FALSE(std::isnan(player_->offset));
  EXPECT_FALSE(std::isnan(player_->rate_correction));
}

// The step comes before the call looks at its packets: it goes by what the call before has found.
TEST_F(Controller, UsesTheOffsetOfTheCallBefore) {
  begin(100);
  get(0);
  clock_.move(0.02);
  play(1000, kStart + 0.04);
  get(500);
  EXPECT_NE(player_->offset, 0.0);
  EXPECT_EQ(player_->previous_error, 0.0);
  const double offset = player_->offset;
  get(0);
  EXPECT_EQ(player_->previous_error, offset / 0.05);
}

// In every state the frozen offset goes on adding up.
TEST_F(Controller, GoesOnInEveryState) {
  for (const State state : {State::created, State::buffering, State::empty}) {
    player_->state = state;
    player_->offset = 0.025;
    player_->error_sum = 0.0;
    for (int i = 0; i < 10; ++i) get(64);
    EXPECT_NEAR(player_->error_sum, 5.0, 1e-12);
    EXPECT_EQ(player_->offset, 0.025);
  }
}

TEST_F(Controller, RunsTheOutputFasterWhenTheAudioIsEarly) {
  player_->offset = 0.01;
  EXPECT_GT(next_output_rate(*player_, 44100.0f), 44100.0f);
  player_->rate_correction = 0.0;
  player_->offset = -0.01;
  EXPECT_LT(next_output_rate(*player_, 44100.0f), 44100.0f);
}

TEST_F(Controller, ShowsItsStateToTheHost) {
  player_->offset = 0.01;
  get(0);
  const aupacketplayer_status status = aupacketplayer_get_status(player_);
  EXPECT_EQ(status.state, AuPacketPlayerCreated);
  EXPECT_EQ(status.offset, 0.01);
  EXPECT_EQ(status.rate_correction, player_->rate_correction);
  EXPECT_NE(status.rate_correction, 0.0);
}

}  // namespace
}  // namespace auspool::testing
