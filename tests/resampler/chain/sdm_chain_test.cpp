// Chains of block transforms as a host runs them.
#include <gtest/gtest.h>

#include "resampler/chain/chain.h"
#include "resampler/stages/sdm/c2r_fft_converter.h"
#include "support/host_stream.h"
#include "support/sdm_chains.h"
#include "support/watch.h"

using namespace auspool::testing;

namespace {

constexpr std::int32_t kSdm = RAESAMPLER_FLAG_SDM, kDriftFlag = RAESAMPLER_FLAG_DRIFT;
constexpr RatePair kPairs[] = {{2822400, 44100}, {176400, 44100}, {192000, 44100}, {96000, 88200}};

template <typename Sample>
class SdmChain : public ::testing::Test {
protected:
  static constexpr std::int32_t kQuality = sizeof(Sample) == 8 ? RaesamplerQualityUltraHigh : RaesamplerQualityHigh;

  static std::vector<Sample> noise(const RatePair &rates, double outputs, std::uint32_t seed = 2) {
    return random_samples<Sample>(static_cast<std::size_t>(rates.in / rates.out * outputs), seed);
  }
};
using Widths = ::testing::Types<float, double>;
TYPED_TEST_SUITE(SdmChain, Widths);

}  // namespace

TYPED_TEST(SdmChain, IsTheSameInAnySplit) {
  std::mt19937 random(1);
  for (const RatePair &rates : kPairs) {
    for (const std::int32_t drift : {0, kDriftFlag}) {
      const auto in = this->noise(rates, 24000);
      const auto chain = make_sdm_chain(rates, this->kQuality | drift);
      ASSERT_TRUE(chain);
      const auto expected = convert(chain.get(), in);
      ASSERT_GT(expected.size(), 6000u) << rates;
      for (const auto &[longest, room] : {std::pair{900, 0}, {100000, 0}, {50000, 700}}) {
        raesampler_reset(chain.get());
        ASSERT_EQ(stream(chain.get(), in, random, longest, room), expected)
            << rates << " in blocks up to " << longest << " with room for " << room << ", drift " << drift;
      }
    }
  }
}

// Channels differ, and each is what a chain of its own makes of it.
TYPED_TEST(SdmChain, ConvertsEachChannelByItself) {
  constexpr RatePair kRates = {176400, 44100};
  for (std::int32_t channels = 1; channels <= 8; ++channels) {
    const auto chain = make_sdm_chain(kRates, this->kQuality, channels);
    ASSERT_TRUE(chain);
    std::vector<std::vector<TypeParam>> in, out;
    std::vector<const TypeParam *> from;
    std::vector<TypeParam *> to;
    for (std::int32_t c = 0; c < channels; ++c) {
      in.push_back(this->noise(kRates, 15000, static_cast<std::uint32_t>(c)));
      out.emplace_back(30000);
      from.push_back(in.back().data());
    }
    for (auto &channel : out) to.push_back(channel.data());
    auto count = static_cast<std::int32_t>(in[0].size());
    const std::int32_t made = resample_channels(chain.get(), from.data(), to.data(), &count, 0);
    const auto alone = make_sdm_chain(kRates, this->kQuality);
    for (std::size_t c = 0; c < in.size(); ++c) {
      out[c].resize(static_cast<std::size_t>(made));
      raesampler_reset(alone.get());
      ASSERT_EQ(out[c], convert(alone.get(), in[c])) << "channel " << c << " of " << channels;
    }
  }
}

// Channels of an interleaved stream are laid out before the first stage, whose samples must lie side by side.
TYPED_TEST(SdmChain, ReadsAndWritesInterleavedChannels) {
  constexpr RatePair kRates = {192000, 44100};
  const auto left = this->noise(kRates, 15000, 1), right = this->noise(kRates, 15000, 2);
  std::vector<TypeParam> in, out(2 * 20000);
  for (std::size_t i = 0; i < left.size(); ++i) in.insert(in.end(), {left[i], right[i]});
  const auto chain = make_sdm_chain(kRates, this->kQuality, 2), alone = make_sdm_chain(kRates, this->kQuality);
  const TypeParam *const from[] = {in.data(), in.data() + 1};
  TypeParam *const to[] = {out.data(), out.data() + 1};
  auto count = static_cast<std::int32_t>(left.size());
  std::int32_t made;
  if constexpr (sizeof(TypeParam) == 8) {
    made = raesampler_resampleD(chain.get(), from, 2, to, 2, &count, 0);
  } else {
    made = raesampler_resample(chain.get(), from, 2, to, 2, &count, 0);
  }
  const auto expected = convert(alone.get(), right);
  ASSERT_EQ(static_cast<std::size_t>(made), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) ASSERT_EQ(out[2 * i + 1], expected[i]) << i;
}

// A call gives no more than was told. What it asks for may be too little, since complex samples count as two; asking
// again comes to it.
TYPED_TEST(SdmChain, CountsHold) {
  std::mt19937 random(3);
  for (const RatePair &rates : kPairs) {
    const auto chain = make_sdm_chain(rates, this->kQuality);
    for (int round = 0; round < 20; ++round) {
      const std::int32_t wanted = random_between(random, 1, 20000);
      std::int32_t made = 0;
      for (int calls = 0; made < wanted; ++calls) {
        ASSERT_LT(calls, 20) << rates;
        const std::int32_t asked = raesampler_input_samples(chain.get(), wanted - made);
        ASSERT_GT(asked, 0) << rates;
        const std::int32_t told = raesampler_output_samples(chain.get(), asked);
        ASSERT_GE(told, wanted - made) << rates;
        const auto out = convert(chain.get(), std::vector<TypeParam>(static_cast<std::size_t>(asked)));
        ASSERT_LE(static_cast<std::int32_t>(out.size()), told) << rates;
        made += static_cast<std::int32_t>(out.size());
      }
    }
  }
}

TYPED_TEST(SdmChain, RunsWithoutAllocationOrSystemCall) {
  for (const RatePair &rates : kPairs) {
    const auto chain = make_sdm_chain(rates, this->kQuality);
    const auto in = this->noise(rates, 16000);
    std::vector<TypeParam> out(1024);
    const auto run = [&] {
      const RealtimeGuard guard;
      for (std::size_t at = 0; at < in.size();) {
        auto count = static_cast<std::int32_t>(std::min<std::size_t>(in.size() - at, 4096));
        const TypeParam *from = in.data() + at;
        TypeParam *to = out.data();
        resample_channels(chain.get(), &from, &to, &count, 1024);
        at += static_cast<std::size_t>(count);
      }
      raesampler_reset(chain.get());
    };
    run();
    if (!run_without_system_calls(run)) GTEST_SKIP() << "the kernel or a sanitizer does not allow it";
  }
}

TEST(SdmChain, ASweepComesOutAsItIs) {
  for (const RatePair &rates : {RatePair{176400, 44100}, {705600, 48000}, {192000, 44100}}) {
    const Sweep sweep = {0.02 * rates.out, 0.47 * rates.out, 0.6};
    const auto chain = make_sdm_chain(rates, RaesamplerQualityUltraHigh);
    const auto out = convert(chain.get(), sweep.samples(rates.in, 0.5));
    ASSERT_GT(static_cast<double>(out.size()), 0.7 * rates.out);
    const double first = time_of_first_output(rates);
    for (std::size_t i = 0; i < out.size(); ++i) {
      ASSERT_NEAR(out[i], sweep.at(first + static_cast<double>(i) / rates.out), 1e-8) << rates << " at " << i;
    }
  }
}

TEST(SdmChain, ASweepAboveTheBandLeavesNothing) {
  for (const RatePair &rates : {RatePair{176400, 44100}, RatePair{705600, 44100}, RatePair{192000, 44100}}) {
    const Sweep sweep = {0.53 * rates.out, 0.49 * rates.in, 0.6};
    const auto chain = make_sdm_chain(rates, RaesamplerQualityUltraHigh);
    const auto out = convert(chain.get(), sweep.samples(rates.in, 0.5));
    ASSERT_GT(static_cast<double>(out.size()), 0.7 * rates.out);
    for (std::size_t i = 0; i < out.size(); ++i) ASSERT_LT(std::abs(out[i]), 1e-8) << rates << " at " << i;
  }
}

TEST(SdmChain, KeepsItsGainAndHasNoAliases) {
  for (const RatePair &rates : {RatePair{176400, 44100}, RatePair{192000, 48000}, RatePair{96000, 88200}}) {
    const auto chain = make_sdm_chain(rates, RaesamplerQualityUltraHigh);
    const ConverterQuality found = measure_chain(chain.get(), rates, 0.995, memory_of_sdm_chain(rates));
    EXPECT_TRUE(is_clean(found)) << rates << ": " << found;
  }
}

// Floats end where floats do.
TEST(SdmChain, IsAsCleanAsFloatsAre) {
  constexpr RatePair kRates = {192000, 48000};
  const auto chain = make_sdm_chain(kRates, RaesamplerQualityHigh);
  const ConverterQuality found = measure_chain(chain.get(), kRates, 0.99, memory_of_sdm_chain(kRates));
  EXPECT_GT(found.images, 140) << found;
  EXPECT_GT(found.aliases, 140) << found;
  EXPECT_LT(found.ripple, 1e-5) << found;
}

// A drift stage in front turns a tone into one of another frequency, and leaves its level.
TEST(SdmChain, FollowsADriftingClock) {
  constexpr RatePair kRates = {192000, 48000};
  constexpr double kDrift = 1.0004;
  const auto chain = make_sdm_chain(kRates, RaesamplerQualityUltraHigh | kDriftFlag);
  ASSERT_EQ(raesampler_set_drift_ratio(chain.get(), kDrift), 1);
  const RatePair drifted = {kRates.in, kRates.out * kDrift};
  const ConverterQuality found = measure_chain(chain.get(), drifted, 0.9, memory_of_sdm_chain(drifted));
  EXPECT_LT(found.ripple, 1e-3) << found;
  EXPECT_GT(found.images, 110) << found;
  EXPECT_GT(found.aliases, 110) << found;
}

TEST(SdmChain, IsWhatTheFlagMakesWhereNoReadyChainServes) {
  for (const double out : {44100.0, 48000.0}) {
    for (const std::int32_t quality : {RaesamplerQualityNormal, RaesamplerQualityUltraHigh}) {
      double ratio = 0;
      const RaesamplerHandle chain(raesampler_create(quality | kSdm, 2, &ratio, 0, 2822400, out, 0));
      ASSERT_TRUE(chain);
      EXPECT_EQ(ratio, out / 2822400);
      ASSERT_EQ(chain->stage_count, 3);
      EXPECT_TRUE(chain->stages[2].process == auspool::c2r_fft_converter_process);
    }
  }
}

TEST(SdmChain, ReachesTheLargestRatioThatThereIs) {
  EXPECT_TRUE(create_chain({8000 * 256.0, 8000}, RaesamplerQualityHigh | kSdm));
  EXPECT_FALSE(create_chain({8000 * 257.0, 8000}, RaesamplerQualityHigh | kSdm));
}

TEST(SdmChain, IsNoneForRatesThatRiseOrAreNotWhole) {
  for (const RatePair &rates : {RatePair{44100, 50000}, RatePair{50000.5, 44100}, RatePair{44100, 44100.5}}) {
    EXPECT_FALSE(create_chain(rates, RaesamplerQualityHigh | kSdm)) << rates;
    EXPECT_TRUE(create_chain(rates, RaesamplerQualityHigh)) << rates;
  }
}

// 999983 is a prime: its matrix would be far too large.
TEST(SdmChain, IsNoneForAMatrixBeyondTheLargest) {
  resampler_structure structure = {};
  EXPECT_GT(generate_sdm_resampler_structure(&structure, 999983, 44100), 0);
  EXPECT_FALSE(create_chain({999983, 44100}, RaesamplerQualityHigh | kSdm));
}

TEST(SdmChain, LeavesNothingBehindWhenMemoryRunsOut) {
  for (const std::int32_t quality : {RaesamplerQualityHigh, RaesamplerQualityUltraHigh}) {
    const auto create = [&] { return create_chain({2822400, 48000}, quality | kSdm, 2) != nullptr; };
    ASSERT_TRUE(create());  // the matrices stay
    EXPECT_GT(fail_each_allocation(create), 20);
  }
}

TEST(SdmChain, ConvertsAWholeStreamInOneCall) {
  constexpr RatePair kRates = {2822400, 48000};
  HostStream<double> host(1, 3000000);
  ASSERT_EQ(host.convert(nullptr, kRates.in, kRates.out, RaesamplerQualityVeryHigh | kSdm), 0);
  ASSERT_EQ(host.out[0].size(), 51020u);  // 3000000 * 48000 / 2822400 and a bit
  const auto chain = create_chain(kRates, RaesamplerQualityVeryHigh | kSdm);
  auto padded = host.in[0];
  padded.resize(padded.size() + static_cast<std::size_t>(memory_of_sdm_chain(kRates)));
  const auto streamed = convert(chain.get(), padded);
  ASSERT_GE(streamed.size(), host.out[0].size());
  EXPECT_TRUE(std::equal(host.out[0].begin(), host.out[0].end(), streamed.begin()));
}
