// Players on a real sound system, a private one: what arrives at a sink's monitor is what was played.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <numbers>
#include <optional>

#include "players.h"
#include "support/sound_system.h"
#include "support/watch.h"

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
    G::play(player, {left.data(), right.data()}, kBlock, rate);
  }

  // The first frame from this one on that a sink got so far, if it did; audio is fed meanwhile.
  std::optional<std::uint64_t> heard_from(const MonitorRecorder &sink, std::uint64_t from) {
    feed();
    for (const Stretch &stretch : stretches_of(sink.samples(), 2)) {
      if (stretch.first + stretch.frames > from) return std::max(stretch.first, from);
    }
    return {};
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
  float rate = 48000.0f;
};
TYPED_TEST_SUITE(PlayerOnServer, Generations, GenerationNames);

TYPED_TEST(PlayerOnServer, PlaysExactlyWhereTheRatesAreEqual) {
  const MonitorRecorder sink(*this->server, "main", "FL,FR");
  EXPECT_TRUE(eventually([&] { return this->longest(sink) >= 20000; }));
  EXPECT_GE(TypeParam::device_latency(this->player), 0.0f) << "a sink that is not there has none";
  EXPECT_GT(TypeParam::now_playing(this->player), 0.0f);
}

// A server on a busy computer may be late just then: one of five changes must do.
TYPED_TEST(PlayerOnServer, GoesOnAtAnotherDefaultDeviceAndLosesABufferAtMost) {
  const MonitorRecorder main(*this->server, "main", "FL,FR"), other(*this->server, "other", "FL,FR");
  std::uint64_t least = UINT64_MAX;
  const std::uint64_t buffer = this->system->frames(this->system->device("main"));
  for (int i = 0; i < 5 && least > buffer; ++i) {
    const MonitorRecorder &from = i % 2 ? other : main, &to = i % 2 ? main : other;
    const std::uint64_t played = this->next;
    ASSERT_TRUE(eventually([&] { return this->heard_from(from, played).has_value(); }));
    const std::uint32_t before = TypeParam::device(this->player);
    this->server->set_default_sink(i % 2 ? "main" : "other");
    std::optional<std::uint64_t> went_on;
    ASSERT_TRUE(eventually([&] { return (went_on = this->heard_from(to, played)).has_value(); }));
    EXPECT_NE(TypeParam::device(this->player), before);
    const Stretch last = stretches_of(from.samples(), 2).back();
    EXPECT_GE(*went_on, last.first + last.frames) << "nothing twice";
    least = std::min(least, *went_on - (last.first + last.frames));
  }
  EXPECT_LE(least, buffer);
}

TYPED_TEST(PlayerOnServer, GoesOnAtTheNextSinkWhenItsOwnIsTakenAway) {
  const MonitorRecorder other(*this->server, "other", "FL,FR");
  this->server->remove("main");
  EXPECT_TRUE(eventually([&] { return this->longest(other) >= 4800; }));
  EXPECT_EQ(TypeParam::device(this->player), this->system->device("other"));
}

TYPED_TEST(PlayerOnServer, GoesOnExactlyWithAnotherBufferSize) {
  const MonitorRecorder sink(*this->server, "main", "FL,FR");
  ASSERT_TRUE(eventually([&] { return this->longest(sink) >= 4800; }));
  const platform::ObjectId main = this->system->device("main");
  EXPECT_EQ(this->devices().set(main, platform::kBufferFrames, 256u), 0);
  EXPECT_TRUE(eventually([&] {
    this->feed();
    return this->system->frames(main) == 256;
  }));
  const std::uint64_t played = this->next;
  EXPECT_TRUE(eventually([&] {
    this->feed();
    const auto stretches = stretches_of(sink.samples(), 2);
    return !stretches.empty() && stretches.back().first + stretches.back().frames > played + 9600 &&
           stretches.back().frames >= 4800;
  }));
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

TYPED_TEST(PlayerOnServer, FollowsTheGraphsRateAndGoesOn) {
  this->rate = 44100.0f;
  // A graph that runs takes no notice of a new rate now and then.
  for (int i = 0; i < 20 && this->player->device_rate != 44100.0f; ++i) {
    this->server->set("force-rate", i % 2 ? 0 : 44100);
    for (int wait = 0; wait < 100 && this->player->device_rate != 44100.0f; ++wait) {
      this->feed();
      usleep(10000);
    }
  }
  ASSERT_EQ(this->player->device_rate, 44100.0f);
  const MonitorRecorder sink(*this->server, "main", "FL,FR", 44100);
  EXPECT_TRUE(eventually([&] { return this->longest(sink) >= 4800; })) << "exact: the rates are equal now";
}

// The player's own pass, on the sound system's thread, which runs all streams of the process.
TYPED_TEST(PlayerOnServer, IsFitForTheRealTimeThread) {
  struct Guarded {
    static platform::DeviceStatus run(platform::ObjectId id, const platform::TimeStamp *now,
                                      const platform::BufferList *, const platform::TimeStamp *,
                                      platform::BufferList *output, const platform::TimeStamp *time, void *self) {
      auto &guarded = *static_cast<Guarded *>(self);
      std::optional<RealtimeGuard> guard;
      if (guarded.passes > 0) guard.emplace();  // the first one may build the converter
      Player::device_io_proc(id, now, nullptr, nullptr, output, time, guarded.player);
      ++guarded.passes;
      return 0;
    }
    Player *player;
    std::atomic<int> passes = 0;
  } guarded{this->player};
  this->feed();
  Proc proc(this->devices(), this->system->device("other"), Guarded::run, &guarded);
  ASSERT_EQ(proc.start(), 0);
  EXPECT_TRUE(eventually([&] {
    this->feed();
    return guarded.passes >= 50;
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
