// The IO thread's pass.
#include <cmath>
#include <memory>
#include <optional>

#include "auspool/raesampler.h"
#include "auspool/resampler.h"
#include "players.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

template <typename Generation>
class PlayerIo : public PlayerTest<Generation> {
protected:
  std::uint32_t start_on(std::span<const std::uint32_t> buffers, double rate = 44100, std::uint32_t frames = 512) {
    ausim_device device = output_device(buffers);
    device.rate = rate;
    device.buffer_frames = frames;
    const std::uint32_t id = this->devices.add_default_output(device);
    EXPECT_EQ(Generation::start(this->player), 0);
    return id;
  }
};
TYPED_TEST_SUITE(PlayerIo, Generations, GenerationNames);

// ---- Where the audio goes ----

TYPED_TEST(PlayerIo, FillsPlanes) {
  const std::uint32_t id = this->start_on(kPlanar);
  this->play(Samples(1024, 0.5f), Samples(1024, 0.25f));
  EXPECT_EQ(this->heard(id, 1, 0, 0), Samples(512, 0.5f));
  EXPECT_EQ(this->heard(id, 1, 0, 1), Samples(512, 0.25f));
}

TYPED_TEST(PlayerIo, MixesBothSignalsIntoAMonoDevice) {
  const std::uint32_t id = this->start_on(kMono);
  this->play(Samples(512, 0.5f), Samples(512, 0.25f));
  EXPECT_EQ(this->heard(id, 1), Samples(512, 0.375f));
}

TYPED_TEST(PlayerIo, PlaysIntoTheChosenChannelsAlone) {
  this->set_options([](AuPlayerOptions &options) {
    options.left_channel = 4;
    options.right_channel = 2;
  });
  const std::uint32_t id = this->start_on(kFour);
  for (const float expected : {0.0f, 0.25f, 0.0f, 0.5f}) {
    static std::uint32_t channel = 0;
    this->play(Samples(512, 0.5f), Samples(512, 0.25f));
    EXPECT_EQ(this->heard(id, 1, channel++ % 4), Samples(512, expected));
  }
}

TYPED_TEST(PlayerIo, Left3Right0SendsBothSignalsToChannel3WhereTheDeviceHasNoPreference) {
  this->set_options([](AuPlayerOptions &options) { options.left_channel = 3; });
  const std::uint32_t id = this->start_on(kFour);
  this->play(Samples(512, 0.5f), Samples(512, 0.25f));
  EXPECT_EQ(this->heard(id, 1, 2), Samples(512, 0.375f));
}

TYPED_TEST(PlayerIo, AChannelBeyondTheDeviceGivesItsSignalToTheOther) {
  this->set_options([](AuPlayerOptions &options) {
    options.left_channel = 9;
    options.right_channel = 2;
  });
  const std::uint32_t id = this->start_on(kFour);
  this->play(Samples(512, 0.5f), Samples(512, 0.25f));
  EXPECT_EQ(this->heard(id, 1, 1), Samples(512, 0.375f));
}

TYPED_TEST(PlayerIo, AppliesTheGainAtOnce) {
  const std::uint32_t id = this->start_on(kInterleaved);
  this->play(Samples(2048, 0.5f));
  EXPECT_EQ(this->heard(id, 1), Samples(512, 0.5f));
  TypeParam::set_gain(this->player, 0.5f);
  EXPECT_EQ(this->heard(id, 1), Samples(512, 0.25f));
  TypeParam::set_gain(this->player, 1.0005f);
  EXPECT_EQ(this->heard(id, 1), Samples(512, 0.5f));
  TypeParam::set_gain(this->player, 1.001f);
  EXPECT_EQ(this->heard(id, 1), Samples(512, 0.5f * 1.001f));
}

TYPED_TEST(PlayerIo, WithNowhereToPlayKeepsTheAudio) {
  const std::uint32_t id = this->devices.add_default_output(input_device(kInterleaved));
  EXPECT_EQ(TypeParam::start(this->player), 0);
  this->play(Samples(512));
  ausim_run(this->devices, id, 3);
  EXPECT_NEAR(TypeParam::get_buffer_length(this->player), 512 / 44100.0, 1e-6);
  EXPECT_GT(TypeParam::device_latency(this->player), 0.0f) << "the latency is measured all the same";
}

// ---- Rates ----

// What the generation's converter makes of a signal, in blocks as the device asks for them.
Samples converted_by(FirstGeneration, const Samples &in, double from, double to, std::int32_t block, int blocks) {
  const std::unique_ptr<resampler, void (*)(resampler *)> converter(resampler_create(), resampler_destroy);
  Samples all, source = interleave(in, in);
  source.resize(source.size() + 100000);
  std::size_t at = 0;
  for (int i = 0; i < blocks; ++i) {
    Samples part(2 * static_cast<std::size_t>(block));
    const std::int32_t needed = resampler_frames_in(converter.get(), block, from, to);
    resampler_resample_i2ch(converter.get(), source.data() + 2 * at, part.data(), static_cast<std::uint32_t>(block),
                            from, to);
    at += static_cast<std::size_t>(needed);
    for (std::int32_t n = 0; n < block; ++n) all.push_back(part[2 * static_cast<std::size_t>(n)]);
  }
  return all;
}

Samples converted_by(SecondGeneration, const Samples &in, double from, double to, std::int32_t block, int blocks) {
  raesampler *const converter = raesampler_create(0, 1, nullptr, 0, from, to, 1e-5);
  Samples all, source = in;
  source.resize(source.size() + 100000);
  std::size_t at = 0;
  for (int i = 0; i < blocks; ++i) {
    Samples part(static_cast<std::size_t>(block));
    std::int32_t used = raesampler_input_samples(converter, block);
    const float *const from_channel = source.data() + at;
    float *const to_channel = part.data();
    raesampler_resample(converter, &from_channel, 1, &to_channel, 1, &used, block);
    at += static_cast<std::size_t>(used);
    all.insert(all.end(), part.begin(), part.end());
  }
  raesampler_destroy(converter);
  return all;
}

TYPED_TEST(PlayerIo, ConvertsToTheRateOfTheDevice) {
  const Samples in = noise(20000, 3);
  for (const double rate : {48000.0, 96000.0, 22050.0}) {
    const std::uint32_t id = this->start_on(kInterleaved, rate, 256);
    this->play(in);
    EXPECT_EQ(this->heard(id, 20), converted_by(TypeParam(), in, 44100, rate, 256, 20)) << rate;
  }
}

TYPED_TEST(PlayerIo, ConvertsFromTheRateOfTheAudio) {
  const Samples in = noise(60000, 3);
  const std::uint32_t id = this->start_on(kInterleaved, 48000, 256);
  for (const float rate : {96000.0f, 32000.0f, 48000.0f}) {
    this->play(in, rate);
    EXPECT_EQ(this->heard(id, 20), converted_by(TypeParam(), in, static_cast<double>(rate), 48000, 256, 20)) << rate;
  }
}

// Larger than what a pass does at once.
TYPED_TEST(PlayerIo, ConvertsLargeBuffersInParts) {
  const Samples in = noise(65536, 3);
  const std::uint32_t id = this->start_on(kInterleaved, 48000, 16384);
  this->play(in);
  EXPECT_EQ(this->heard(id, 3), converted_by(TypeParam(), in, 44100, 48000, 8192, 6));
}

TYPED_TEST(PlayerIo, ConvertsWhereABufferTakesMoreThanFitsAtOnce) {
  const Samples in = noise(65536, 3);
  const std::uint32_t id = this->start_on(kInterleaved, 8000, 4000);
  this->play(in, 48000);
  EXPECT_EQ(this->heard(id, 2), converted_by(TypeParam(), in, 48000, 8000, 4000, 2));
}

TYPED_TEST(PlayerIo, RatesThatNothingConvertsAreSilent) {
  const std::uint32_t id = this->start_on(kInterleaved);
  for (const float rate : {1e9f, NAN, 0.0f, -44100.0f, INFINITY}) {
    this->play(Samples(20000, 0.5f), rate);
    for (const float sample : this->heard(id, 2)) ASSERT_TRUE(sample == 0.0f || sample == 0.5f) << rate;
  }
  this->play(Samples(20000, 0.5f), 44100.0f);
  const Samples heard = this->heard(id, 2);
  EXPECT_EQ(heard.back(), 0.5f);
}

TYPED_TEST(PlayerIo, FollowsTheRateOfTheDevice) {
  const std::uint32_t id = this->start_on(kInterleaved, 44100, 256);
  const Samples in = noise(40000, 4);
  this->play(in);
  this->heard(id, 4);
  this->devices.set_rate(id, 48000);
  EXPECT_EQ(this->player->device_rate, 48000.0f);
  const Samples rest(in.begin() + 1024, in.end());
  EXPECT_EQ(this->heard(id, 20), converted_by(TypeParam(), rest, 44100, 48000, 256, 20));
}

TYPED_TEST(PlayerIo, AStartForgetsWhatTheConverterHeld) {
  const Samples loud(4000, 0.9f), in = noise(20000, 6);
  const std::uint32_t id = this->start_on(kInterleaved, 48000, 256);
  this->play(loud);
  ausim_run(this->devices, id, 3);
  TypeParam::start(this->player);
  this->play(in);
  EXPECT_EQ(this->heard(id, 10), converted_by(TypeParam(), in, 44100, 48000, 256, 10));
}

TYPED_TEST(PlayerIo, ANewDefaultDeviceForgetsWhatTheConverterHeld) {
  const Samples in = noise(20000, 6);
  const std::uint32_t first = this->start_on(kInterleaved, 48000, 256);
  this->play(in);
  const Samples before = this->heard(first, 4);
  const auto waiting = static_cast<std::ptrdiff_t>(rbuffer2_used_space(this->player->ring.get()) / 4);
  ausim_device description = output_device(kInterleaved);
  description.rate = 48000;
  description.buffer_frames = 256;
  const std::uint32_t second = this->devices.add_default_output(description);
  EXPECT_EQ(this->heard(second, 10),
            converted_by(TypeParam(), Samples(in.end() - waiting, in.end()), 44100, 48000, 256, 10));
}

TYPED_TEST(PlayerIo, TakesADeviceWhoseRateCannotBeReadFor44100) {
  const std::uint32_t id = this->start_on(kInterleaved, 48000);
  EXPECT_EQ(this->player->device_rate, 48000.0f);
  this->devices.fail(AUSIM_GET, "nsrt", -1);
  this->devices.set_rate(id, 96000);
  EXPECT_EQ(this->player->device_rate, 44100.0f);
}

TYPED_TEST(PlayerIo, ARateThatChangesWhileIoStartsIsNotMissed) {
  ausim_device device = output_device(kInterleaved);
  const std::uint32_t id = this->devices.add_default_output(device);
  this->devices.on_operation = [&](const DeviceOperation &operation) {
    if (operation.kind == AUSIM_START) {
      const double rate = 48000;
      ausim_set_property(this->devices, id, "nsrt", "glob", 8, &rate);
    }
    return 0;
  };
  EXPECT_EQ(TypeParam::start(this->player), 0);
  EXPECT_EQ(this->player->device_rate, 48000.0f);
}

// ---- The host's callback ----

TYPED_TEST(PlayerIo, PullsFromTheCallbackAtTheRateOfTheDevice) {
  int frames = 0;
  double rate = 0;
  const PullCallback callback = [&](float *interleaved, int count, double at) {
    frames = count;
    rate = at;
    for (int i = 0; i < count; ++i) {
      interleaved[2 * i] = 0.5f;
      interleaved[2 * i + 1] = 0.25f;
    }
  };
  TypeParam::set_callback(this->player, &callback);
  const std::uint32_t id = this->start_on(kInterleaved, 48000.5);
  TypeParam::set_gain(this->player, 0.5f);
  EXPECT_EQ(this->heard(id, 1, 1), Samples(512, 0.125f));
  EXPECT_EQ(frames, 512);
  EXPECT_EQ(rate, (std::is_same_v<TypeParam, FirstGeneration> ? 48000.5 : 48000.0));
  TypeParam::set_callback(this->player, nullptr);
}

TYPED_TEST(PlayerIo, TheCallbackWinsOverTheRing) {
  const PullCallback callback = [](float *interleaved, int count, double) {
    std::fill_n(interleaved, 2 * count, 0.125f);
  };
  TypeParam::set_callback(this->player, &callback);
  const std::uint32_t id = this->start_on(kInterleaved);
  this->play(Samples(512, 0.5f));
  EXPECT_EQ(this->heard(id, 1), Samples(512, 0.125f));
  EXPECT_FLOAT_EQ(static_cast<float>(this->player->play_position), 512 / 44100.0f);
}

TYPED_TEST(PlayerIo, SettingACallbackStopsThePlayer) {
  this->start_on(kInterleaved);
  const PullCallback callback = [](float *, int, double) {};
  TypeParam::set_callback(this->player, &callback);
  EXPECT_EQ(TypeParam::is_active(this->player), 0u);
  TypeParam::start(this->player);
  TypeParam::set_callback(this->player, nullptr);
  EXPECT_EQ(TypeParam::is_active(this->player), 0u);
  EXPECT_EQ(this->player->audio_callback, nullptr);
  EXPECT_EQ(this->player->audio_callback_context, &callback) << "only the function is cleared";
}

TYPED_TEST(PlayerIo, WithoutTheCallbackTheRingPlaysAgain) {
  const PullCallback callback = [](float *, int, double) {};
  TypeParam::set_callback(this->player, &callback);
  TypeParam::set_callback(this->player, nullptr);
  const std::uint32_t id = this->start_on(kInterleaved);
  this->play(Samples(512, 0.5f));
  EXPECT_EQ(this->heard(id, 1), Samples(512, 0.5f));
}

TYPED_TEST(PlayerIo, CallbacksGetWholeCyclesOfUpTo8192Frames) {
  std::vector<int> counts;
  const PullCallback callback = [&](float *interleaved, int count, double) {
    counts.push_back(count);
    std::fill_n(interleaved, 2 * count, 0.125f);
  };
  TypeParam::set_callback(this->player, &callback);
  const std::uint32_t id = this->start_on(kInterleaved, 44100, 8192);
  EXPECT_EQ(this->heard(id, 1), Samples(8192, 0.125f));
  EXPECT_EQ(counts, (std::vector<int>{8192}));
  const std::uint32_t frames = 9000;
  ausim_set_property(this->devices, id, "fsiz", "glob", 4, &frames);
  EXPECT_EQ(this->heard(id, 1), Samples(9000, 0.125f));
  EXPECT_EQ(counts, (std::vector<int>{8192, 8192, 808})) << "a longer one comes in parts";
  TypeParam::set_callback(this->player, nullptr);
}

// ---- Latency ----

TYPED_TEST(PlayerIo, TheFirstMeasureCountsWholeAndTheOthersHalf) {
  ausim_device device = output_device(kInterleaved);
  device.rate = 50000;
  device.buffer_frames = 500;
  device.output_latency = 500;
  const std::uint32_t id = this->devices.add_default_output(device);
  TypeParam::start(this->player);
  ausim_run(this->devices, id, 1);
  EXPECT_FLOAT_EQ(TypeParam::device_latency(this->player), 0.02f);
  const std::uint32_t frames = 1500;
  ausim_set_property(this->devices, id, "fsiz", "glob", 4, &frames);
  ausim_run(this->devices, id, 1);
  EXPECT_FLOAT_EQ(TypeParam::device_latency(this->player), 0.03f);
  ausim_run(this->devices, id, 1);
  EXPECT_FLOAT_EQ(TypeParam::device_latency(this->player), 0.035f);
}

TYPED_TEST(PlayerIo, WithoutValidStampsTheMeasureIs0AndTheLatencyHalves) {
  const std::uint32_t id = this->start_on(kInterleaved);
  ausim_set_stamps(this->devices, 0);
  ausim_run(this->devices, id, 1);
  EXPECT_EQ(TypeParam::device_latency(this->player), 0.0f);
  ausim_set_stamps(this->devices, 1);
  ausim_run(this->devices, id, 1);
  const float measured = TypeParam::device_latency(this->player);
  ausim_set_stamps(this->devices, 0);
  ausim_run(this->devices, id, 2);
  EXPECT_EQ(TypeParam::device_latency(this->player), measured / 4);
}

// A pass by hand, without a buffer to fill.
float latency_after(Player &player, const platform::TimeStamp *now, const platform::TimeStamp *output) {
  player.latency = 0.0f;
  EXPECT_EQ(Player::device_io_proc(2, now, nullptr, nullptr, nullptr, output, &player), 0);
  return player.latency;
}

TYPED_TEST(PlayerIo, TheLatencyIsSignedAndNeedsBothStampsWithTheirHostTimes) {
  using platform::TimeStamp;
  const TimeStamp early{0, 1000000000, TimeStamp::kHostTimeValid}, late{0, 1250000000, TimeStamp::kHostTimeValid};
  const TimeStamp invalid{0, 1250000000, TimeStamp::kSampleTimeValid};
  Player &one = *this->player;
  EXPECT_FLOAT_EQ(latency_after(one, &early, &late), 0.25f);
  EXPECT_FLOAT_EQ(latency_after(one, &late, &early), -0.25f);
  EXPECT_EQ(latency_after(one, &early, &early), 0.0f);
  EXPECT_EQ(latency_after(one, &early, &invalid), 0.0f);
  EXPECT_EQ(latency_after(one, &invalid, &late), 0.0f);
  EXPECT_EQ(latency_after(one, nullptr, &late), 0.0f);
  EXPECT_EQ(latency_after(one, &early, nullptr), 0.0f);
}

TYPED_TEST(PlayerIo, APassWithoutAPlayerIsNothing) {
  EXPECT_EQ(Player::device_io_proc(2, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
}

TYPED_TEST(PlayerIo, TheRateOfADeviceThatItHasLeftIsNotItsRate) {
  this->start_on(kInterleaved);
  ausim_device other = output_device(kInterleaved);
  other.rate = 96000;
  const std::uint32_t left = this->devices.add(other);
  Player::device_listener_proc(left, 1, &platform::kNominalRate, static_cast<Player *>(this->player));
  EXPECT_EQ(this->player->device_rate, 44100.0f);
}

// ---- Memory and real time ----

TYPED_TEST(PlayerIo, IsFitForTheRealTimeThread) {
  const std::uint32_t id = this->start_on(kInterleaved, 48000, 256);
  this->play(noise(40000, 5));
  // The first pass of the second generation builds its resampler: the one thing that may allocate.
  if (std::is_same_v<TypeParam, SecondGeneration>) ausim_run(this->devices, id, 1);
  int passes = 0;
  std::optional<RealtimeGuard> guard;
  this->devices.on_input = [&](auto, auto) { guard.emplace(); };
  this->devices.on_output = [&](auto, auto) {
    guard.reset();
    ++passes;
  };
  ausim_run(this->devices, id, 20);
  TypeParam::set_gain(this->player, 0.5f);
  ausim_run(this->devices, id, 5);
  if (std::is_same_v<TypeParam, FirstGeneration>) {
    this->devices.set_rate(id, 44100);
    ausim_run(this->devices, id, 5);
  }
  EXPECT_GE(passes, 25);
  this->devices.on_input = nullptr;
  this->devices.on_output = nullptr;
}

TYPED_TEST(PlayerIo, WithACallbackIsFitForTheRealTimeThread) {
  const PullCallback callback = [](float *interleaved, int count, double) { std::fill_n(interleaved, 2 * count, 0.f); };
  TypeParam::set_callback(this->player, &callback);
  const std::uint32_t id = this->start_on(kPlanar);
  std::optional<RealtimeGuard> guard;
  this->devices.on_input = [&](auto, auto) { guard.emplace(); };
  this->devices.on_output = [&](auto, auto) { guard.reset(); };
  ausim_run(this->devices, id, 5);
  this->devices.set_rate(id, 96000);
  ausim_run(this->devices, id, 5);
  this->devices.on_input = nullptr;
  this->devices.on_output = nullptr;
  TypeParam::set_callback(this->player, nullptr);
}

class PlayerResampler : public PlayerIo<SecondGeneration> {};

TEST_F(PlayerResampler, IsBuiltAtTheFirstPassAndKeptWhileTheRatesStay) {
  const std::uint32_t id = start_on(kInterleaved);
  EXPECT_EQ(player->resampler, nullptr);
  ausim_run(devices, id, 1);
  const raesampler *const built = player->resampler.get();
  EXPECT_NE(built, nullptr) << "equal rates have one too";
  ausim_run(devices, id, 3);
  EXPECT_EQ(player->resampler.get(), built);
  EXPECT_EQ(player->resampler_in_rate, 44100.0f);
  devices.set_rate(id, 48000);
  ausim_run(devices, id, 1);
  EXPECT_EQ(player->resampler_out_rate, 48000.0f);
}

TEST_F(PlayerResampler, ThatCannotBeBuiltLeavesSilenceAndIsTriedAgain) {
  const std::uint32_t id = start_on(kInterleaved);
  play(Samples(1024, 0.5f));
  std::optional<AllocationFailer> failer;
  devices.on_input = [&](auto, auto) { failer.emplace(1); };
  const Samples silent = heard(id, 1);
  EXPECT_TRUE(failer->failed());
  failer.reset();
  devices.on_input = nullptr;
  EXPECT_EQ(silent, Samples(512, 0.0f));
  EXPECT_EQ(heard(id, 2), Samples(1024, 0.5f)) << "nothing was taken from the ring";
}

}  // namespace
}  // namespace auspool::testing
