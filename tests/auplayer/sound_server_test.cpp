// Players on a real sound system, a private one: what arrives at a sink's monitor is what was played.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "players.h"
#include "support/sound_system.h"

namespace auspool::testing {
namespace {

constexpr std::uint32_t kBlock = 4800;

// What is left of a window once the sine of that frequency that fits it best is taken away, in decibels below the sine.
double residual_db(const std::vector<float> &frames, std::size_t first, std::size_t count, double hz, double rate) {
  const double step = 2 * std::numbers::pi * hz / rate;
  double in_phase = 0, quadrature = 0, power = 0;
  for (std::size_t i = 0; i < count; ++i) {  // whole periods: the two are orthogonal
    const double sample = static_cast<double>(frames[2 * (first + i)]), phase = step * static_cast<double>(i);
    in_phase += sample * std::cos(phase);
    quadrature += sample * std::sin(phase);
    power += sample * sample;
  }
  const double tone = 2 * (in_phase * in_phase + quadrature * quadrature) / static_cast<double>(count);
  return 10 * std::log10(std::max(power - tone, 1e-30) / tone);
}

template <typename Generation>
class PlayerOnServer : public SoundTest {
protected:
  using G = Generation;

  void SetUp() override {
    SoundTest::SetUp();
    if (IsSkipped()) return;
    player = G::create();
    ASSERT_EQ(G::start(player), 0);
  }
  void TearDown() override {
    G::destroy(player);
    SoundTest::TearDown();
  }

  // Offers the next tenth of a second of the numbered signal, if there is room.
  void feed() {
    if (rbuffer2_free_space(player->ring.get()) < static_cast<int>(4 * kBlock)) return;
    Samples left, right;
    for (std::uint32_t i = 0; i < kBlock; ++i) {
      left.push_back(numbered_sample(next + i, 0));
      right.push_back(numbered_sample(next + i, 1));
    }
    next += kBlock;
    G::play(player, {left.data(), right.data()}, kBlock, 48000.0f);
  }

  // The frames of the longest stretch that a sink got so far; audio is fed meanwhile.
  std::uint64_t longest(const MonitorRecorder &sink) {
    feed();
    std::uint64_t most = 0;
    for (const Stretch &stretch : stretches_of(sink.samples(), 2)) most = std::max(most, stretch.frames);
    return most;
  }

  typename G::Handle *player = nullptr;
  std::uint64_t next = 0;
};
TYPED_TEST_SUITE(PlayerOnServer, Generations, GenerationNames);

TYPED_TEST(PlayerOnServer, PlaysExactlyWhereTheRatesAreEqual) {
  const MonitorRecorder sink(*this->server, "main", "FL,FR");
  EXPECT_TRUE(eventually([&] { return this->longest(sink) >= 20000; }));
  EXPECT_GE(TypeParam::device_latency(this->player), 0.0f) << "a sink that is not there has none";
  EXPECT_GT(TypeParam::now_playing(this->player), 0.0f);
}

TYPED_TEST(PlayerOnServer, GoesOnAtAnotherDefaultDeviceFromWhereItWas) {
  const MonitorRecorder main(*this->server, "main", "FL,FR"), other(*this->server, "other", "FL,FR");
  ASSERT_TRUE(eventually([&] { return this->longest(main) >= 9600; }));
  const std::uint32_t before = TypeParam::device(this->player);
  this->server->set_default_sink("other");
  ASSERT_TRUE(eventually([&] { return this->longest(other) >= 9600; }));
  EXPECT_NE(TypeParam::device(this->player), before);
  const auto left = stretches_of(main.samples(), 2), found = stretches_of(other.samples(), 2);
  EXPECT_GE(found.front().first, left.back().first + left.back().frames) << "nothing twice";
}

TYPED_TEST(PlayerOnServer, SurvivesTheServersEndAndGoesOnWithTheNext) {
  {
    const MonitorRecorder sink(*this->server, "main", "FL,FR");
    ASSERT_TRUE(eventually([&] { return this->longest(sink) >= 4800; }));
  }
  this->server->kill();
  EXPECT_TRUE(eventually([&] { return TypeParam::device(this->player) == 0; }));
  EXPECT_TRUE(TypeParam::is_active(this->player));
  this->server->start();
  const MonitorRecorder sink(*this->server, "main", "FL,FR");
  EXPECT_TRUE(eventually([&] { return this->longest(sink) >= 4800; }));
}

TYPED_TEST(PlayerOnServer, FollowsTheGraphsRate) {
  this->server->set("force-rate", 44100);
  EXPECT_TRUE(eventually([&] {
    this->feed();
    return this->player->device_rate == 44100.0f;
  }));
}

// The graph runs at 48000 Hz. The converters of both generations leave a tone 60 dB or more above what they add to it.
TYPED_TEST(PlayerOnServer, ConvertsOtherRatesToTheGraphs) {
  constexpr double kHz = 1000, kRate = 44100, kGraphRate = 48000;
  constexpr std::size_t kWindow = 4800;  // a hundred periods
  const MonitorRecorder sink(*this->server, "main", "FL,FR");
  std::size_t played = 0;
  double best = 0;
  const auto is_clean = [&] {
    if (rbuffer2_free_space(this->player->ring.get()) >= static_cast<int>(4 * kBlock)) {
      Samples tone;
      for (std::size_t i = 0; i < kBlock; ++i) {
        tone.push_back(
            static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * kHz * static_cast<double>(played++) / kRate)));
      }
      TypeParam::play(this->player, {tone.data(), tone.data()}, kBlock, static_cast<float>(kRate));
    }
    const std::vector<float> frames = sink.samples();
    for (std::size_t at = 0; 2 * (at + kWindow) <= frames.size(); at += kWindow) {
      if (frames[2 * at] != 0.0f) best = std::min(best, residual_db(frames, at, kWindow, kHz, kGraphRate));
    }
    return best < -60;
  };
  EXPECT_TRUE(eventually(is_clean)) << best;
}

TYPED_TEST(PlayerOnServer, PlaysIntoChosenChannelsOfMany) {
  AuPlayerOptions options = {};
  options.device = this->system->device("quad");
  options.left_channel = 4;
  options.right_channel = 3;
  TypeParam::set_options(this->player, &options);
  ASSERT_EQ(TypeParam::start(this->player), 0);
  const MonitorRecorder sink(*this->server, "quad", "FL,FR,RL,RR");
  const auto arrived = [&] {
    this->feed();
    const std::vector<float> all = sink.samples();
    std::size_t frames = 0;
    for (std::size_t i = 0; i + 4 <= all.size(); i += 4) {
      EXPECT_TRUE(all[i] == 0.0f && all[i + 1] == 0.0f);
      frames += all[i + 3] > 0.0f && all[i + 2] == all[i + 3] + 1.0f / (1 << 24);
    }
    return frames >= 4800;
  };
  EXPECT_TRUE(eventually(arrived));
}

}  // namespace
}  // namespace auspool::testing
