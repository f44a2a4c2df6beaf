// The player beside its plainest form, on random packets from friendly to hostile: every sample, every word of the
// controller and every line of the log.
#include "auplayer/aupacketplayer/player_model.h"

#include <random>

#include "auplayer/aupacketplayer/player_fixture.h"

namespace auspool::testing {
namespace {

class BesideItsModel : public PacketPlayer, public ::testing::WithParamInterface<std::uint32_t> {
protected:
  double uniform(double low, double high) { return std::uniform_real_distribution<double>(low, high)(random_); }
  bool chance(double probability) { return uniform(0, 1) < probability; }

  void send(PlayerModel &model, double timestamp) {
    const auto frames = static_cast<std::uint32_t>(uniform(1, longest_));
    std::vector<float> audio(std::size_t{2} * frames);
    for (float &sample : audio) sample = static_cast<float>(uniform(-1, 1));
    aupacketplayer_play(player_, audio.data(), frames, timestamp);
    model.queue.push_back({audio, timestamp, false});
    next_timestamp_ = timestamp + frames / 44100.0;
  }

  void send_some(PlayerModel &model) {
    while (next_timestamp_ < now() + lead_) {
      if (chance(0.05)) next_timestamp_ += uniform(0, 0.02);  // a lost packet
      if (chance(0.003)) next_timestamp_ += uniform(0, 1.5);  // a pause
      if (chance(0.003)) next_timestamp_ = now() - uniform(0, 0.5);
      send(model, next_timestamp_ + uniform(-jitter_, jitter_));
    }
    if (chance(0.002)) {
      aupacketplayer_flush(player_);
      model.queue.push_back({{}, 0, true});
    }
  }

  void expect_equal(const PlayerModel &model) {
    ASSERT_EQ(static_cast<std::uint32_t>(state()), model.state);
    ASSERT_EQ(player_->last_timestamp, model.last);
    ASSERT_EQ(player_->next_timestamp, model.next);
    ASSERT_EQ(player_->offset, model.offset);
    ASSERT_EQ(player_->previous_error, model.previous);
    ASSERT_EQ(player_->error_sum, model.sum);
    ASSERT_EQ(player_->rate_correction, model.correction);
    ASSERT_EQ(player_->skip_derivative != 0, model.skip);
  }

  std::mt19937 random_{GetParam()};
  double longest_ = uniform(10, 2000), lead_ = uniform(0.005, 0.5), jitter_ = chance(0.5) ? uniform(0, 0.02) : 0;
  double next_timestamp_ = kStart;
};

TEST_P(BesideItsModel, EverythingIsEqual) {
  aupacketplayer_set_resample_continuously(player_, 1);
  PlayerModel model(64, 44100.0f);
  const auto rate = static_cast<float>(uniform(8000, 192000));
  const double drift = 1 + uniform(-0.01, 0.01);
  for (int call = 0; call < 1000; ++call) {
    if (call == 20) {
      aupacketplayer_start(player_);
      model.state = 0xFEF0;
    }
    if (chance(0.01)) aupacketplayer_set_pads_missing_audio(player_, model.pads = chance(0.7));
    if (chance(0.01)) aupacketplayer_set_resample_continuously(player_, model.resamples = chance(0.8));
    send_some(model);
    const auto frames = static_cast<std::uint32_t>(chance(0.9) ? 512 : uniform(0, 1000));
    std::vector<float> output(std::size_t{2} * frames);
    aupacketplayer_get_frames(player_, output.data(), static_cast<std::int32_t>(frames), rate);
    ASSERT_EQ(output, model.get(frames, rate, now())) << "call " << call;
    ASSERT_NO_FATAL_FAILURE(expect_equal(model)) << "call " << call;
    clock_.move(frames / static_cast<double>(rate) * drift);
  }
  EXPECT_EQ(logged(), model.log);
  EXPECT_FALSE(model.log.empty());
}

INSTANTIATE_TEST_SUITE_P(Streams, BesideItsModel, ::testing::Range(0u, 12u));

}  // namespace
}  // namespace auspool::testing
