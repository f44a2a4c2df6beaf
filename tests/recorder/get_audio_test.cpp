// From the ring to a block at the file's rate.
#include <limits>

#include "recorder/bare_recorder.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

struct GetAudio : ::testing::Test {
  void begin(float rate_in, float rate_out) {
    aurec_set_buffer_size(host, 0);
    recorder = &BareRecorder::on(host, rate_out);
    recorder->pretend(rate_in);
    in = rate_in;
  }

  Samples fill(std::size_t frames, std::uint32_t seed = 1) {
    const Samples left = noise(frames, seed), right = noise(frames, seed + 100);
    EXPECT_EQ(host.record(left, right, in), 0);
    return interleave(left, right);
  }

  Samples get(std::int32_t frames, bool want_full = false, bool pad = false) {
    Samples block(2 * static_cast<std::size_t>(frames), 99.0f);
    const std::int32_t got = recorder->get_audio(block.data(), frames, want_full, pad);
    EXPECT_GE(got, 0);
    for (std::size_t i = 2 * static_cast<std::size_t>(got); i < block.size() && got > 0; ++i) {
      EXPECT_EQ(block[i], 99.0f) << "written beyond what was got";
    }
    block.resize(2 * static_cast<std::size_t>(got));
    return block;
  }

  Host host;
  BareRecorder *recorder = nullptr;
  float in = 0;
};

Samples first(const Samples &samples, std::size_t frames) {
  return Samples(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(2 * frames));
}

TEST_F(GetAudio, AtEqualRatesGivesWhatIsThere) {
  begin(44100, 44100);
  EXPECT_EQ(get(100), Samples());
  const Samples audio = fill(150);
  EXPECT_EQ(get(100), first(audio, 100));
  EXPECT_EQ(get(100), Samples(audio.begin() + 200, audio.end()));
}

TEST_F(GetAudio, WantedFullGivesAllOrNothing) {
  begin(44100, 44100);
  const Samples audio = fill(150);
  EXPECT_EQ(get(100, true), first(audio, 100));
  EXPECT_EQ(get(100, true), Samples());
  EXPECT_EQ(frames_in_ring(host), 50) << "not read either";
}

TEST_F(GetAudio, PaddingFillsTheLastBlockWithZeros) {
  begin(44100, 44100);
  Samples audio = fill(30);
  audio.resize(200);
  EXPECT_EQ(get(100, true, true), audio);
  EXPECT_EQ(get(100, true, true), Samples()) << "an empty ring still gives nothing";
}

TEST_F(GetAudio, PaddingAloneDoesNotFillUp) {
  begin(44100, 44100);
  EXPECT_EQ(get(100, false, true), Samples());
  const Samples audio = fill(30);
  EXPECT_EQ(get(100, false, true), audio);
}

// The same conversion by hand: all input at once, then block for block, from a sampler of our own.
class Model {
public:
  Model(double rate_in, double rate_out) : in_(rate_in), out_(rate_out) {}
  ~Model() { ausampler_destroy(sampler_); }
  Model(const Model &) = delete;
  Model &operator=(const Model &) = delete;

  void put(const Samples &frames) { waiting_.insert(waiting_.end(), frames.begin(), frames.end()); }

  Samples get(std::uint32_t frames) {
    const auto held = static_cast<std::uint32_t>(waiting_.size() / 2);
    if (ausampler_read_frames_in(sampler_, frames, in_, out_) > held) {
      frames = ausampler_write_frames_out(sampler_, held, in_, out_);
    }
    const std::size_t take = 2 * std::size_t{ausampler_read_frames_in(sampler_, frames, in_, out_)};
    Samples source(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(take));
    waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(take));
    if (in_ > out_) filter(source);
    Samples result(2 * std::size_t{frames});
    ausampler_read_interleaved(sampler_, source.data(), result.data(), frames, in_, out_);
    return result;
  }

private:
  void filter(Samples &source) {
    const float half = static_cast<float>(out_) / static_cast<float>(in_) * 0.5f;
    const double w = 3.14159265358979323846 * static_cast<double>(half + half);
    const double alpha = std::sin(w) / 1.6, a0 = 1 + alpha;
    const auto b0 = static_cast<float>((1 - std::cos(w)) * 0.5 / a0), b1 = static_cast<float>((1 - std::cos(w)) / a0),
               a1 = static_cast<float>(-2 * std::cos(w) / a0), a2 = static_cast<float>((1 - alpha) / a0);
    for (std::size_t i = 0; i < source.size(); ++i) {
      float(&s)[4] = state_[i % 2];
      const float x = source[i];
      const float y = b0 * (x + s[1]) + b1 * s[0] - a1 * s[2] - a2 * s[3];
      s[1] = s[0];
      s[0] = x;
      s[3] = s[2];
      s[2] = y;
      source[i] = y;
    }
  }

  ausampler *sampler_ = ausampler_create(2);
  double in_, out_;
  Samples waiting_;
  float state_[2][4] = {};
};

TEST_F(GetAudio, ConvertsLikeTheSamplerBehindTheLowPass) {
  const float rates[][2] = {{48000, 44100}, {44100, 48000},  {96000, 44100}, {8000, 44100},
                            {44100, 8000},  {192000, 44100}, {44100, 44099}, {192000, 4000}};
  for (const auto &[rate_in, rate_out] : rates) {
    SCOPED_TRACE(::testing::Message() << rate_in << " to " << rate_out);
    begin(rate_in, rate_out);
    Model model(static_cast<double>(rate_in), static_cast<double>(rate_out));
    for (std::uint32_t round = 1; round <= 30; ++round) {
      model.put(fill(37 * round, round));
      const Samples got = get(1024);
      const Samples expected = model.get(1024);
      ASSERT_EQ(got.size(), expected.size());
      for (std::size_t i = 0; i < got.size(); ++i) ASSERT_NEAR(got[i], expected[i], 1e-6) << round << " at " << i;
    }
  }
}

TEST_F(GetAudio, WhatIsTooLittleForOneFrameStaysInTheRing) {
  begin(192000, 4000);
  fill(40);
  EXPECT_EQ(get(1024).size(), 2u) << "the first frame lies at the beginning of the audio";
  const std::int32_t left = frames_in_ring(host);
  EXPECT_EQ(get(1024), Samples());
  EXPECT_EQ(frames_in_ring(host), left);
}

TEST_F(GetAudio, ConvertedAndWantedFullGivesAllOrNothing) {
  begin(48000, 44100);
  fill(1000);
  EXPECT_EQ(get(1024, true), Samples());
  EXPECT_EQ(frames_in_ring(host), 1000);
  fill(200);
  EXPECT_EQ(get(1024, true).size(), 2048u);
}

TEST_F(GetAudio, ConvertedAndPaddedFillsTheLastBlock) {
  for (const float rate : {22050.0f, 96000.0f}) {
    begin(rate, 44100);
    EXPECT_EQ(get(1024, true, true), Samples()) << "an empty ring still gives nothing";
    fill(200);
    const Samples padded = get(1024, true, true);
    ASSERT_EQ(padded.size(), 2048u);
    const auto left = static_cast<std::size_t>(frames_in_ring(host));
    EXPECT_LE(left, 1u) << "what makes no whole frame is not taken";

    // As if silence had followed.
    Model model(static_cast<double>(rate), 44100);
    begin(rate, 44100);
    model.put(first(fill(200), 200 - left));
    model.put(Samples(2 * 4000));
    const Samples expected = model.get(1024);
    for (std::size_t i = 0; i < padded.size(); ++i) ASSERT_NEAR(padded[i], expected[i], 1e-6) << i;
  }
}

TEST_F(GetAudio, ANewRateStartsSamplerAndFilterAnew) {
  begin(96000, 44100);
  fill(3000);
  EXPECT_EQ(get(1024).size(), 2048u);
  in = 48000;
  const Samples audio = fill(3000, 9);
  Model model(48000, 44100);
  model.put(audio);
  const Samples got = get(1024), expected = model.get(1024);
  for (std::size_t i = 0; i < got.size(); ++i) ASSERT_NEAR(got[i], expected[i], 1e-6) << i;
}

TEST_F(GetAudio, ANewRateThatIsTheFilesNeedsNoConversion) {
  begin(48000, 44100);
  fill(2000);
  get(1024);
  in = 44100;
  const Samples audio = fill(500, 9);
  EXPECT_EQ(get(1024), audio);
}

// 192000 Hz to 4000 Hz takes 49152 frames a block, and far more at the highest rate: no stack holds that.
TEST_F(GetAudio, BlocksOfAnyRatioAreConverted) {
  for (const float rate : {192000.0f, kHighestInputRate}) {
    begin(rate, 4000);
    fill(600000);
    EXPECT_GT(get(1024).size(), 0u);
    fill(600000);
    EXPECT_EQ(get(1024, true, true).size(), 2048u);
  }
}

TEST_F(GetAudio, ASilentTailLeavesNoNaNInfinityOrDenormalBehind) {
  begin(96000, 44100);
  const float nan = std::nanf(""), infinity = std::numeric_limits<float>::infinity();
  for (const float bad : {nan, infinity, -infinity, 3e38f}) {
    const Samples block(2000, bad);
    EXPECT_EQ(host.record(block, block, in), 0);
    get(1024);
    const Samples quiet(200000);
    EXPECT_EQ(host.record(quiet, quiet, in), 0);
    Samples last;
    for (Samples next = get(1024); !next.empty(); next = get(1024)) last = next;
    for (const float sample : last) ASSERT_EQ(sample, 0.0f) << bad;
  }
}

TEST_F(GetAudio, WithoutMemoryTheAudioStaysInTheRing) {
  begin(96000, 44100);
  fill(3000);
  {
    Samples block(2048);
    const AllocationFailer failer(1);
    EXPECT_EQ(recorder->get_audio(block.data(), 1024, false, false), 0);
    EXPECT_TRUE(failer.failed());
  }
  EXPECT_EQ(frames_in_ring(host), 3000);
  EXPECT_EQ(get(1024).size(), 2048u);
}

TEST_F(GetAudio, TheLowPassTakesAwayWhatTheFilesRateCannotHold) {
  begin(96000, 22050);
  const auto level_of = [&](double hz) {
    begin(96000, 22050);
    const Samples tone = sine(40000, 96000, hz, 0.5);
    EXPECT_EQ(host.record(tone, tone, in), 0);
    double sum = 0;
    std::size_t count = 0;
    for (Samples block = get(1024); !block.empty(); block = get(1024)) {
      for (const float sample : block) sum += static_cast<double>(sample) * static_cast<double>(sample);
      count += block.size();
    }
    return 10 * std::log10(sum / static_cast<double>(count) / 0.125);
  };
  EXPECT_NEAR(level_of(500), 0, 0.2);
  EXPECT_LT(level_of(40000), -20);
}

}  // namespace
