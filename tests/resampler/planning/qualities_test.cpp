// Planned chains as a host meets them: what they do to tones, and that nothing depends on how they are fed. The whole
// table of rates is in qualities_long_test.cpp.
#include <gtest/gtest.h>

#include "resampler/chain/chain.h"
#include "support/converter_quality.h"
#include "support/quality_limits.h"
#include "support/tone.h"
#include "support/watch.h"

using namespace auspool::testing;

namespace {

// Every kind of plan: fast convolution up and down and at one rate, direct and rational stages, sinc stages.
constexpr RatePair kPairs[] = {{44100, 48000}, {48000, 44100}, {96000, 44100},   {192000, 48000},
                               {48000, 8000},  {8000, 192000}, {48000, 44100.5}, {22050, 32000.5}};
constexpr std::int32_t kFlags[] = {0, RAESAMPLER_FLAG_MINIMUM_PHASE, RAESAMPLER_FLAG_LOW_LATENCY};
constexpr std::int32_t kLatency = 2000;  // microseconds

struct Case {
  RatePair rates;
  std::int32_t flags;
};

std::vector<Case> cases() {
  std::vector<Case> all;
  for (const RatePair &rates : kPairs) {
    for (std::int32_t quality = 0; quality < 5; ++quality) {
      for (const std::int32_t flags : kFlags) all.push_back({rates, quality | flags});
    }
  }
  return all;
}

std::ostream &operator<<(std::ostream &out, const Case &c) {
  return out << c.rates << ", flags " << std::hex << c.flags << std::dec;
}

RaesamplerHandle create(const Case &c, std::int32_t channels = 1) {
  return create_chain(c.rates, c.flags, channels, kLatency);
}

// Input that is enough for some output of any chain here.
std::vector<float> input_for(const raesampler *chain, std::uint32_t seed) {
  return random_samples<float>(static_cast<std::size_t>(raesampler_padding(chain)) + 3000, seed);
}

// Feeds a signal in random blocks and with random limits, until all input is consumed and nothing waits.
std::vector<float> convert_in_pieces(raesampler *chain, const std::vector<float> &in, std::mt19937 &random) {
  std::vector<float> out, block(5000);
  for (std::size_t at = 0; at < in.size() || chain->overflow_count > 0;) {
    const std::size_t drawn = static_cast<std::size_t>(random_between(random, 0, 3000));
    auto count = static_cast<std::int32_t>(std::min(drawn, in.size() - at));
    const float *const from[1] = {in.data() + at};
    float *const to[1] = {block.data()};
    const std::int32_t limit = random_between(random, 1, 5000);
    const std::int32_t made = raesampler_resample(chain, from, 1, to, 1, &count, limit);
    EXPECT_LE(made, limit);
    out.insert(out.end(), block.begin(), block.begin() + made);
    at += static_cast<std::size_t>(count);
  }
  return out;
}

}  // namespace

TEST(Qualities, ReachTheirAttenuationAndStayFlat) {
  for (const RatePair &rates : std::span(kPairs).first(6)) {
    for (std::int32_t quality = 0; quality < 5; ++quality) {
      const ConverterQuality measured = measure_quality(rates, quality, flat_share(rates, quality));
      EXPECT_TRUE(is_within(measured, quality_limits(quality))) << rates << ", quality " << quality << ": " << measured;
    }
  }
}

TEST(Qualities, HoldInSmallPartitionsToo) {
  for (const RatePair &rates : std::span(kPairs).first(5)) {
    for (std::int32_t quality = 1; quality < 4; ++quality) {
      ConverterQuality measured =
          measure_quality(rates, quality | RAESAMPLER_FLAG_LOW_LATENCY, flat_share(rates, quality), kLatency);
      measured.delay = 0;  // what a long filter delays beyond a block stays in
      EXPECT_TRUE(is_within(measured, quality_limits(quality))) << rates << ", quality " << quality << ": " << measured;
    }
  }
}

// The table of a sinc stage has 1024 steps, between which it is read along a straight line: that, and its length near
// the edge of the band, is what bounds ratios of no small whole numbers.
TEST(Qualities, AnyRealRatioIsAsGoodAsTheSincStage) {
  constexpr double kHighest[] = {0.85, 0.89, 0.91, 0.95, 0.94};
  for (const RatePair &rates : std::span(kPairs).last(2)) {
    for (std::int32_t quality = 0; quality < 5; ++quality) {
      QualityLimits limits = quality_limits(quality);
      limits.attenuation = std::min(limits.attenuation, 131.0);
      limits.ripple = std::max(limits.ripple, 1e-5);
      const ConverterQuality measured = measure_quality(rates, quality, kHighest[quality]);
      EXPECT_TRUE(is_within(measured, limits)) << rates << ", quality " << quality << ": " << measured;
    }
  }
}

// The cepstrum of a short transform aliases a little.
TEST(Qualities, MinimumPhaseKeepsTheLevels) {
  for (const RatePair &rates : std::span(kPairs).first(6)) {
    for (std::int32_t quality = 0; quality < 2; ++quality) {
      ConverterQuality measured =
          measure_quality(rates, quality | RAESAMPLER_FLAG_MINIMUM_PHASE, flat_share(rates, quality));
      measured.delay = 0;  // which depends on the frequency
      QualityLimits limits = quality_limits(quality);
      limits.attenuation -= 25;
      limits.ripple = 0.3;
      EXPECT_TRUE(is_within(measured, limits)) << rates << ", quality " << quality << ": " << measured;
    }
  }
}

TEST(Qualities, NoCutOfTheStreamChangesABit) {
  std::mt19937 random(1);
  for (const Case &c : cases()) {
    const RaesamplerHandle whole = create(c), cut = create(c);
    ASSERT_TRUE(whole && cut) << c;
    const auto in = input_for(whole.get(), 2);
    const auto expected = convert(whole.get(), in);
    ASSERT_GT(expected.size(), 100u) << c;
    ASSERT_EQ(convert_in_pieces(cut.get(), in, random), expected) << c;
  }
}

TEST(Qualities, AResetIsAFreshStart) {
  for (const Case &c : cases()) {
    const RaesamplerHandle chain = create(c);
    const auto in = input_for(chain.get(), 3);
    const auto first = convert(chain.get(), in);
    raesampler_reset(chain.get());
    ASSERT_EQ(convert(chain.get(), in), first) << c;
  }
}

// After a preroll output starts with the first input samples; it is the same signal, as late as the filters make it.
TEST(Qualities, APrerollLeavesTheDelayIn) {
  for (const RatePair &rates : std::span(kPairs).first(6)) {
    for (std::int32_t quality = 0; quality < 5; ++quality) {
      const RaesamplerHandle chain = create_chain(rates, quality);
      const auto in = input_for(chain.get(), 4);
      const std::int32_t waits = raesampler_input_samples(chain.get(), 1);
      const auto aligned = convert(chain.get(), in);
      raesampler_preroll(chain.get());
      EXPECT_LT(raesampler_input_samples(chain.get(), 1), std::max(waits, 2)) << rates << ' ' << quality;
      const auto late = convert(chain.get(), in);
      EXPECT_GE(late.size(), aligned.size()) << rates << ' ' << quality;
    }
  }
}

TEST(Qualities, EveryChannelIsConvertedAsIfItWereAlone) {
  for (const std::int32_t channels : {2, 6, 64}) {
    for (const std::int32_t quality : {0, 1, 3}) {
      const Case c = {{44100, 48000}, quality};
      const RaesamplerHandle chain = create(c, channels);
      std::vector<std::vector<float>> in, out;
      std::vector<const float *> from;
      std::vector<float *> to;
      for (std::int32_t i = 0; i < channels; ++i) in.push_back(random_samples<float>(5000, static_cast<unsigned>(i)));
      const auto room = static_cast<std::size_t>(raesampler_output_samples(chain.get(), 5000));
      out.assign(static_cast<std::size_t>(channels), std::vector<float>(room));
      for (std::size_t i = 0; i < in.size(); ++i) from.push_back(in[i].data()), to.push_back(out[i].data());
      std::int32_t count = 5000;
      ASSERT_EQ(raesampler_resample(chain.get(), from.data(), 1, to.data(), 1, &count, 0),
                static_cast<std::int32_t>(room));
      for (std::size_t i = 0; i < in.size(); ++i) {
        const RaesamplerHandle alone = create(c);
        ASSERT_EQ(convert(alone.get(), in[i]), out[i]) << channels << " channels, quality " << quality;
      }
    }
  }
}

// A drift stage at ratio 1 is a copy whose delay is taken out; at another it bends the rate without a click.
TEST(Qualities, DriftCorrectionAtOneChangesNothingAndBendsTheRateOtherwise) {
  for (const RatePair &rates : std::span(kPairs).first(6)) {
    for (std::int32_t quality = 0; quality < 5; ++quality) {
      const RaesamplerHandle plain = create_chain(rates, quality);
      const RaesamplerHandle drift = create_chain(rates, quality | RAESAMPLER_FLAG_DRIFT);
      ASSERT_EQ(drift->stage_count, plain->stage_count + 1);
      const auto in = input_for(plain.get(), 5);
      auto expected = convert(plain.get(), in);
      const auto out = convert(drift.get(), in);
      ASSERT_GT(out.size(), 100u);
      expected.resize(out.size());
      ASSERT_EQ(out, expected) << rates << ' ' << quality;
    }
  }
}

TEST(Qualities, ADriftRatioBendsTheToneThatPasses) {
  const RatePair rates = {44100, 48000};
  for (std::int32_t quality = 1; quality < 5; ++quality) {
    const RaesamplerHandle chain = create_chain(rates, quality | RAESAMPLER_FLAG_DRIFT);
    ASSERT_EQ(raesampler_set_drift_ratio(chain.get(), 1.001), 1);
    const auto out = convert(chain.get(), tone<float>(997, 44100, 60000));
    const ToneFit fit = fit_tone(std::span<const float>(out).subspan(20000, 8192), 20000, 997, 48000 * 1.001);
    EXPECT_NEAR(fit.amplitude, 1.0, 1e-4) << quality;
    EXPECT_GT(-decibels(strongest_tone(fit.rest)), quality == 1 ? 98 : 120) << quality;
  }
}

TEST(Qualities, RunWithoutAllocationOrSystemCall) {
  for (const Case &c : cases()) {
    const RaesamplerHandle chain = create(c, 2);
    const auto in = random_samples<float>(2048, 6);
    std::vector<float> out(static_cast<std::size_t>(2 * 1024 * (c.rates.out / c.rates.in + 1)) + 2000000);
    const auto run = [&] {
      const RealtimeGuard guard;
      const float *const from[2] = {in.data(), in.data() + 1};
      float *const to[2] = {out.data(), out.data() + 1};
      for (const std::int32_t limit : {0, 256, 0, 4096, 1024}) {
        std::int32_t count = limit == 0 ? 1024 : std::min(1024, raesampler_input_samples(chain.get(), limit));
        raesampler_resample(chain.get(), from, 2, to, 2, &count, limit);
      }
      raesampler_reset(chain.get());
    };
    run();
    if (!run_without_system_calls(run)) GTEST_SKIP() << "the kernel or a sanitizer does not allow it";
  }
}

// Players create chains on the audio thread when rates change: a ready chain of quality 0 asks for little.
TEST(Qualities, AReadyChainAtQualityZeroTakesFewAllocations) {
  for (const RatePair &rates : {RatePair{44100, 48000}, {48000, 44100}, {192000, 48000}, {8000, 192000}}) {
    const long before = allocation_count();
    const RaesamplerHandle chain = create_chain(rates, RaesamplerQualityRealTime, 2);
    EXPECT_LE(allocation_count() - before, 23) << rates;
  }
}

TEST(Qualities, CreationLeavesNothingBehindWhenMemoryRunsOut) {
  for (const RatePair &rates : {RatePair{44100, 48000}, {192000, 48000}}) {
    for (const std::int32_t flags : {1, 3, 1 | RAESAMPLER_FLAG_LOW_LATENCY}) {
      EXPECT_GT(fail_each_allocation([&] { return create_chain(rates, flags, 2, kLatency) != nullptr; }), 10);
    }
  }
}

// Small partitions answer soon; large blocks wait for their filter's length.
TEST(Qualities, LowLatencyAnswersWithinItsBlocks) {
  const RatePair rates = {44100, 48000};
  for (std::int32_t quality = 1; quality < 5; ++quality) {
    const RaesamplerHandle slow = create_chain(rates, quality);
    const RaesamplerHandle quick = create_chain(rates, quality | RAESAMPLER_FLAG_LOW_LATENCY, 1, kLatency);
    raesampler_preroll(quick.get());
    std::int32_t longest = 0;
    const auto in = random_samples<float>(20000, 7);
    for (std::size_t at = 0, waited = 0; at < in.size(); ++at) {
      std::int32_t count = 1;
      float room[1000];
      const float *const from[1] = {in.data() + at};
      float *const to[1] = {room};
      waited = raesampler_resample(quick.get(), from, 1, to, 1, &count, 0) > 0 ? 0 : waited + 1;
      longest = std::max(longest, static_cast<std::int32_t>(waited));
    }
    EXPECT_LE(longest, 88) << "2 ms";
    EXPECT_GT(raesampler_input_samples(slow.get(), 1), 88);
  }
}
