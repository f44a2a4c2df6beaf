// Chains of block transforms between all the rates that they are for.
#include <gtest/gtest.h>

#include <iostream>

#include "support/sdm_chains.h"

using namespace auspool::testing;

namespace {

constexpr double kIn[] = {176400, 192000, 352800, 384000, 705600, 768000, 2822400};
constexpr double kOut[] = {44100, 48000, 88200, 96000};

class SdmPairs : public ::testing::TestWithParam<double> {
protected:
  // Calls `check(rates)` for each pair from one rate.
  template <typename Check>
  static void for_each_pair(const Check &check) {
    for (const double out : kOut) {
      SCOPED_TRACE(std::to_string(GetParam()) + " to " + std::to_string(out));
      check(RatePair{GetParam(), out});
    }
  }

  static constexpr std::int32_t kUltra = RaesamplerQualityUltraHigh;
};

}  // namespace

TEST_P(SdmPairs, KeepTheirGainAndHaveNoAliases) {
  ConverterQuality worst = {1e9, 1e9, 1e9, 0, 0};
  for_each_pair([&](const RatePair &rates) {
    const auto chain = make_sdm_chain(rates, kUltra);
    ASSERT_TRUE(chain);
    const ConverterQuality found = measure_chain(chain.get(), rates, 0.995, memory_of_sdm_chain(rates));
    EXPECT_TRUE(is_clean(found)) << found;
    worst = worst_of(worst, found);
  });
  std::cout << "from " << GetParam() << " at its worst: " << worst << '\n';
}

TEST_P(SdmPairs, LetASweepThroughAsItIs) {
  for_each_pair([](const RatePair &rates) {
    if (rates.in < 2 * rates.out) return;  // rises first
    const Sweep sweep = {0.02 * rates.out, 0.47 * rates.out, 0.6};
    const auto chain = make_sdm_chain(rates, kUltra);
    const auto out = convert(chain.get(), sweep.samples(rates.in, 0.5));
    ASSERT_GT(static_cast<double>(out.size()), 0.6 * rates.out);
    const double first = time_of_first_output(rates);
    for (std::size_t i = 0; i < out.size(); ++i) {
      ASSERT_NEAR(out[i], sweep.at(first + static_cast<double>(i) / rates.out), 1e-8) << i;
    }
  });
}

TEST_P(SdmPairs, LetNothingThroughOfASweepAboveTheBand) {
  for_each_pair([](const RatePair &rates) {
    if (rates.in < 2.5 * rates.out) return;
    const Sweep sweep = {0.53 * rates.out, 0.49 * rates.in, 0.6};
    const auto chain = make_sdm_chain(rates, kUltra);
    for (const double sample : convert(chain.get(), sweep.samples(rates.in, 0.5))) ASSERT_NEAR(sample, 0, 1e-8);
  });
}

// Forty tones at once, of which those above the band vanish.
TEST_P(SdmPairs, LetTheTonesOfTheBandThroughAsTheyAre) {
  for_each_pair([](const RatePair &rates) {
    if (rates.in < 2 * rates.out) return;  // rises first
    const auto tones = [&](double time, double most) {
      double sum = 0;
      for (int k = 0; k < 40; ++k) {
        const double hertz = (k < 20 ? 0.0237 * k + 0.011 : 0.53 + 0.0031 * k) * rates.out;
        if (hertz < most) sum += std::cos(2 * std::numbers::pi * hertz * time + k * k) / 40;
      }
      return sum;
    };
    std::vector<double> in(static_cast<std::size_t>(3 * memory_of_sdm_chain(rates)));
    for (std::size_t i = 0; i < in.size(); ++i) in[i] = tones(static_cast<double>(i) / rates.in, rates.in / 2);
    const auto chain = make_sdm_chain(rates, kUltra);
    const auto out = convert(chain.get(), in);
    ASSERT_GT(out.size(), 30000u);
    const double first = time_of_first_output(rates);
    for (std::size_t i = 8000; i < out.size(); ++i) {
      ASSERT_NEAR(out[i], tones(first + static_cast<double>(i) / rates.out, rates.out / 2), 1e-8) << i;
    }
  });
}

TEST_P(SdmPairs, AreTheSameInAnySplitWithAndWithoutDrift) {
  std::mt19937 random(1);
  for_each_pair([&](const RatePair &rates) {
    for (const std::int32_t drift : {0, static_cast<std::int32_t>(RAESAMPLER_FLAG_DRIFT)}) {
      const auto in = random_samples<double>(static_cast<std::size_t>(memory_of_sdm_chain(rates) * 1.5), 2);
      const auto chain = make_sdm_chain(rates, kUltra | drift);
      ASSERT_TRUE(chain);
      raesampler_set_drift_ratio(chain.get(), 1.0003);
      const auto expected = convert(chain.get(), in);
      ASSERT_GT(expected.size(), 6000u);
      for (const auto &[longest, room] : {std::pair{3000, 0}, {200000, 0}, {60000, 1000}}) {
        raesampler_reset(chain.get());
        ASSERT_EQ(stream(chain.get(), in, random, longest, room), expected) << longest << ' ' << room << ' ' << drift;
      }
    }
  });
}

TEST_P(SdmPairs, FollowADriftingClock) {
  for_each_pair([](const RatePair &rates) {
    constexpr double kDrift = 0.9993;
    const auto chain = make_sdm_chain(rates, kUltra | static_cast<std::int32_t>(RAESAMPLER_FLAG_DRIFT));
    ASSERT_EQ(raesampler_set_drift_ratio(chain.get(), kDrift), 1);
    const RatePair drifted = {rates.in, rates.out * kDrift};
    const ConverterQuality found = measure_chain(chain.get(), drifted, 0.9, memory_of_sdm_chain(drifted));
    EXPECT_LT(found.ripple, 1e-3) << found;
    EXPECT_GT(std::min(found.images, found.aliases), 110) << found;
  });
}

TEST_P(SdmPairs, ConvertEachOfUpToEightChannelsByItself) {
  const RatePair rates = {GetParam(), 48000};
  std::vector<std::vector<double>> in, expected;
  const auto alone = make_sdm_chain(rates, kUltra);
  for (std::uint32_t c = 0; c < 8; ++c) {
    in.push_back(random_samples<double>(static_cast<std::size_t>(memory_of_sdm_chain(rates)), c));
    raesampler_reset(alone.get());
    expected.push_back(convert(alone.get(), in.back()));
  }
  for (std::int32_t channels = 1; channels <= 8; ++channels) {
    const auto chain = make_sdm_chain(rates, kUltra, channels);
    std::vector<std::vector<double>> out(8, std::vector<double>(2 * expected[0].size() + 20000));
    std::vector<const double *> from;
    std::vector<double *> to;
    for (auto &channel : in) from.push_back(channel.data());
    for (auto &channel : out) to.push_back(channel.data());
    auto count = static_cast<std::int32_t>(in[0].size());
    ASSERT_EQ(static_cast<std::size_t>(resample_channels(chain.get(), from.data(), to.data(), &count, 0)),
              expected[0].size());
    for (std::size_t c = 0; c < static_cast<std::size_t>(channels); ++c) {
      ASSERT_TRUE(std::equal(expected[c].begin(), expected[c].end(), out[c].begin())) << c << " of " << channels;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(From, SdmPairs, ::testing::ValuesIn(kIn));
