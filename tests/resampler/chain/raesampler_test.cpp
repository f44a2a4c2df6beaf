// The life of a raesampler: which are made, which are refused, what they count.
#include "auspool/raesampler.h"

#include <gtest/gtest.h>

#include <cmath>

#include "resampler/chain/chain.h"
#include "support/chains.h"
#include "support/watch.h"

using namespace auspool::testing;

namespace {

RaesamplerHandle create(double input_rate, double output_rate, std::int32_t flags = 0, std::int32_t channels = 2,
                        std::int32_t latency = 0) {
  return RaesamplerHandle(raesampler_create(flags, channels, nullptr, latency, input_rate, output_rate, 0.0));
}

}  // namespace

TEST(Raesampler, EqualRatesCopyAndHonourTheLimit) {
  double ratio = 0;
  RaesamplerHandle r(raesampler_create(0, 2, &ratio, 0, 44100, 44100, 0));
  ASSERT_TRUE(r);
  EXPECT_EQ(ratio, 1.0);
  EXPECT_EQ(r->stage_count, 0);
  EXPECT_EQ(raesampler_output_samples(r.get(), 100), 100);
  EXPECT_EQ(raesampler_input_samples(r.get(), 100), 100);
  EXPECT_EQ(raesampler_padding(r.get()), 0);

  const auto left = random_samples<float>(200, 1), right = random_samples<float>(100, 2);
  const float *const in[2] = {left.data(), right.data()};
  std::vector<float> out(200, 9.0f);
  float *const to[2] = {out.data(), out.data() + 1};
  std::int32_t count = 100;
  EXPECT_EQ(raesampler_resample(r.get(), in, 1, to, 2, &count, 60), 60);
  EXPECT_EQ(count, 60);
  for (std::size_t i = 0; i < 100; ++i) {
    ASSERT_EQ(out[2 * i], i < 60 ? left[i] : 9.0f);
    ASSERT_EQ(out[2 * i + 1], i < 60 ? right[i] : 9.0f);
  }
  count = 100;
  EXPECT_EQ(raesampler_resample(r.get(), in, 1, to, 2, &count, 0), 100);
  EXPECT_EQ(count, 100);
}

TEST(Raesampler, EqualRatesCopyDoublesToo) {
  RaesamplerHandle r = create(48000, 48000, RaesamplerQualityUltraHigh, 1);
  const auto samples = random_samples<double>(50, 3);
  const double *const in[1] = {samples.data()};
  std::vector<double> out(50);
  double *const to[1] = {out.data()};
  std::int32_t count = 50;
  EXPECT_EQ(raesampler_resampleD(r.get(), in, 1, to, 1, &count, 0), 50);
  EXPECT_EQ(out, samples);
}

TEST(Raesampler, EqualRatesCopyInterleavedAudio) {
  const RaesamplerHandle r = create(48000, 48000, 0, 2);
  const auto in = random_samples<float>(20, 3);
  const float *const from[2] = {in.data(), in.data() + 1};
  std::vector<float> left(10), right(10);
  float *const to[2] = {left.data(), right.data()};
  std::int32_t count = 10;
  EXPECT_EQ(raesampler_resample(r.get(), from, 2, to, 1, &count, 0), 10);
  for (std::size_t i = 0; i < 10; ++i) {
    EXPECT_EQ(left[i], in[2 * i]);
    EXPECT_EQ(right[i], in[2 * i + 1]);
  }
}

TEST(Raesampler, DoublesNeedAQualityThatWorksInThem) {
  RaesamplerHandle r = create(48000, 48000, RaesamplerQualityHigh, 1);
  double sample = 1, out = 0;
  const double *const in[1] = {&sample};
  double *const to[1] = {&out};
  std::int32_t count = 1;
  EXPECT_EQ(raesampler_resampleD(r.get(), in, 1, to, 1, &count, 0), 0);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(out, 0);
}

TEST(Raesampler, RefusesWhatIsOutOfRange) {
  EXPECT_FALSE(create(0, 48000));
  EXPECT_FALSE(create(48000, 0));
  EXPECT_FALSE(create(-48000, -48000));
  EXPECT_FALSE(create(NAN, 48000));
  EXPECT_FALSE(create(48000, NAN));
  EXPECT_FALSE(create(INFINITY, INFINITY));
  EXPECT_FALSE(create(100, 25601));
  EXPECT_FALSE(create(25601, 100));
  EXPECT_FALSE(create(48000, 48000, 0, 0));
  EXPECT_FALSE(create(48000, 48000, 0, -1));
  EXPECT_FALSE(create(48000, 48000, 0, 1025));
  EXPECT_TRUE(create(48000, 48000, 0, 1024));
  for (std::int32_t quality = 5; quality < 16; ++quality) EXPECT_FALSE(create(48000, 48000, quality)) << quality;
}

TEST(Raesampler, RatesMayDifferByAFactorOf256) {
  EXPECT_TRUE(create(100, 25600));
  EXPECT_FALSE(create(100, 25600.00001));
  EXPECT_TRUE(auspool::is_rate_pair(100, 25600));
  EXPECT_TRUE(auspool::is_rate_pair(25600, 100));
  EXPECT_FALSE(auspool::is_rate_pair(100, 25600.00001));
  EXPECT_FALSE(auspool::is_rate_pair(25600.00001, 100));
}

TEST(Raesampler, ALatencyOfOneMicrosecondAsksForDrift) {
  EXPECT_EQ(create(48000, 48000, 0, 2, 0)->drift_enabled, 0u);
  EXPECT_EQ(create(48000, 48000, 0, 2, 2)->drift_enabled, 0u);
  EXPECT_EQ(create(48000, 48000, 0, 2, 1)->drift_enabled, 1u);
  EXPECT_EQ(create(48000, 48000, RAESAMPLER_FLAG_DRIFT, 2, 0)->drift_enabled, 1u);
  EXPECT_EQ(create(48000, 48000, RAESAMPLER_FLAG_LOW_LATENCY, 2, 1)->drift_enabled, 0u);
}

TEST(Raesampler, DriftAtEqualRatesIsOneSincStage) {
  const RaesamplerHandle r = create(48000, 48000, RAESAMPLER_FLAG_DRIFT);
  ASSERT_TRUE(r);
  EXPECT_EQ(r->stage_count, 1);
  EXPECT_TRUE(r->stages[0].set_drift_ratio);
}

TEST(Raesampler, DriftPutsAStageInFrontAndLeavesTheCost) {
  resampler_structure structure = chain_of({filter_spec(1, 2, 99)});
  structure.cost = 12.5;
  ASSERT_EQ(add_drift_correction_stage(RaesamplerQualityRealTime, &structure), 0);
  EXPECT_EQ(structure.count, 2);
  EXPECT_EQ(structure.cost, 12.5);
  EXPECT_EQ(structure.stages[0].type, 4u);
  EXPECT_EQ(structure.stages[0].length, 15);
  EXPECT_EQ(structure.stages[0].kaiser_beta, 5.0);
  EXPECT_EQ(structure.stages[1].length, 99);

  const std::int32_t taps[] = {15, 63, 127, 255, 255};
  const double betas[] = {5.0, 10.06126, 16.67326, 18.87726, 21.08126};
  for (std::int32_t quality = 0; quality < 5; ++quality) {
    resampler_structure alone = {};
    ASSERT_EQ(add_drift_correction_stage(quality, &alone), 0);
    EXPECT_EQ(alone.stages[0].length, taps[quality]);
    EXPECT_NEAR(alone.stages[0].kaiser_beta, betas[quality], 1e-9);
    EXPECT_EQ(alone.stages[0].ratio, 1.0);
    EXPECT_EQ(alone.stages[0].gain, 1.0);
    EXPECT_EQ(alone.stages[0].cutoff, 1.0);
    EXPECT_EQ(alone.stages[0].window, 2u);
    EXPECT_EQ(alone.stages[0].minimum_phase, 0u);
    EXPECT_EQ(alone.stages[0].up, 1);
    EXPECT_EQ(alone.stages[0].down, 1);
    EXPECT_EQ(alone.stages[0].pass_edge, 1.0);
    EXPECT_EQ(alone.stages[0].stop_edge, 1.0);
  }
  EXPECT_EQ(add_drift_correction_stage(5, &structure), -1);
  structure.count = RAESAMPLER_MAX_STAGES;
  EXPECT_EQ(add_drift_correction_stage(0, &structure), -1);
}

// A ready chain: 1/2 at quality 0 is a single decimator.
TEST(Raesampler, DriftGoesInFrontOfAReadyChainToo) {
  const RaesamplerHandle plain = create(96000, 48000), drifting = create(96000, 48000, RAESAMPLER_FLAG_DRIFT);
  ASSERT_EQ(plain->stage_count, 1);
  ASSERT_EQ(drifting->stage_count, 2);
  EXPECT_TRUE(drifting->stages[0].set_drift_ratio);
  EXPECT_FALSE(drifting->stages[1].set_drift_ratio);
}

// What a table has is never planned as block transforms.
TEST(Raesampler, AReadyChainStandsEvenWhereBlockTransformsAreAskedFor) {
  const RaesamplerHandle r = create(96000, 48000, RAESAMPLER_FLAG_SDM);
  ASSERT_TRUE(r);
  EXPECT_EQ(r->stage_count, 1);
}

TEST(Raesampler, ADriftRatioReachesEveryChannel) {
  const RaesamplerHandle r = create(48000, 44100, RAESAMPLER_FLAG_DRIFT, 3);
  const auto in = random_samples<float>(2000, 4);
  const float *const from[3] = {in.data(), in.data(), in.data()};
  for (const double ratio : {1.0, 1.37, 0.7, 1.0}) {
    ASSERT_EQ(raesampler_set_drift_ratio(r.get(), ratio), 1);
    std::vector<std::vector<float>> out(3, std::vector<float>(5000));
    float *const to[3] = {out[0].data(), out[1].data(), out[2].data()};
    std::int32_t count = 2000;
    EXPECT_GT(raesampler_resample(r.get(), from, 1, to, 1, &count, 0), 1000);
    EXPECT_EQ(out[1], out[0]);
    EXPECT_EQ(out[2], out[0]);
  }
}

// All that the widest drift needs is there from the beginning.
TEST(Raesampler, NoDriftRatioNeedsMemory) {
  for (const std::int32_t flags : {0, static_cast<std::int32_t>(RaesamplerQualityVeryHigh)}) {
    const RaesamplerHandle r =
        make_chain(chain_of({filter_spec(900, 1, 2700), filter_spec(1, 900, 2700)}), flags | RAESAMPLER_FLAG_DRIFT);
    ASSERT_TRUE(r);
    ASSERT_EQ(raesampler_set_drift_ratio(r.get(), 1.5), 1);
    const auto in = random_samples<float>(2000, 4);
    std::vector<float> out(4000);
    const float *const from[1] = {in.data()};
    float *const to[1] = {out.data()};
    const RealtimeGuard guard;
    for (const std::int32_t limit : {0, 100, 3000}) {
      std::int32_t count = 2000;
      EXPECT_GT(raesampler_resample(r.get(), from, 1, to, 1, &count, limit), 0);
    }
  }
}

TEST(Raesampler, ADriftRatioOutOfRangeIsRefused) {
  const RaesamplerHandle r = create(48000, 48000, RAESAMPLER_FLAG_DRIFT);
  EXPECT_EQ(raesampler_set_drift_ratio(r.get(), 0.4999), 0);
  EXPECT_EQ(raesampler_set_drift_ratio(r.get(), 1.5001), 0);
  EXPECT_EQ(raesampler_set_drift_ratio(r.get(), NAN), 0);
  EXPECT_EQ(raesampler_output_samples(r.get(), 1000), 1000 - 7);
  EXPECT_EQ(raesampler_set_drift_ratio(r.get(), 0.5), 1);
  EXPECT_EQ(raesampler_output_samples(r.get(), 1000), (1000 - 7 + 1) / 2);
  EXPECT_EQ(raesampler_set_drift_ratio(r.get(), 1.5), 1);
}

TEST(Raesampler, WithoutDriftStageARatioIsTakenAndIgnored) {
  const RaesamplerHandle copies = create(48000, 48000);
  EXPECT_EQ(raesampler_set_drift_ratio(copies.get(), 1.1), 1);
  const RaesamplerHandle filters = make_chain(chain_of({filter_spec(1, 2, 9)}));
  EXPECT_EQ(raesampler_set_drift_ratio(filters.get(), 1.1), 1);
  // A sinc stage of the chain's own is not for drift.
  const RaesamplerHandle sinc = make_chain(chain_of({sinc_spec(0.9, 15)}));
  EXPECT_EQ(raesampler_set_drift_ratio(sinc.get(), 1.1), 1);
  EXPECT_EQ(raesampler_output_samples(sinc.get(), 1000), static_cast<std::int32_t>(std::ceil((1000 - 7) * 0.9)));
}

TEST(Raesampler, AChainOfThirtyThreeStagesRuns) {
  resampler_structure structure = {};
  for (std::int32_t i = 0; i < RAESAMPLER_MAX_STAGES; ++i) {
    structure.stages[structure.count++] = i % 2 ? filter_spec(1, 2, 9) : filter_spec(2, 1, 9);
  }
  const RaesamplerHandle r = make_chain(structure);
  ASSERT_TRUE(r);
  const auto in = random_samples<float>(2000, 4);
  const float *const from[1] = {in.data()};
  std::vector<float> out(static_cast<std::size_t>(raesampler_output_samples(r.get(), 2000)));
  float *const to[1] = {out.data()};
  std::int32_t count = 2000;
  EXPECT_EQ(raesampler_resample(r.get(), from, 1, to, 1, &count, 0), static_cast<std::int32_t>(out.size()));
  EXPECT_FALSE(make_chain(structure, RAESAMPLER_FLAG_DRIFT)) << "there is no room for one more";
  structure.count = RAESAMPLER_MAX_STAGES + 1;
  EXPECT_FALSE(make_chain(structure));
  structure.count = -1;
  EXPECT_FALSE(make_chain(structure));
}

TEST(Raesampler, AStageThatCannotBeBuiltFailsTheChain) {
  stage_spec unknown = filter_spec(1, 2, 9);
  unknown.type = 10;
  EXPECT_FALSE(make_chain(chain_of({filter_spec(1, 2, 9), unknown})));
  EXPECT_FALSE(make_chain(chain_of({filter_spec(1, 2, 9), sinc_spec(0.9, 14)}))) << "an even number of taps";
  EXPECT_FALSE(make_chain(chain_of({sinc_spec(0, 15)})));
  EXPECT_FALSE(make_chain(chain_of({sinc_spec(NAN, 15)})));
}

TEST(Raesampler, CreationLeavesNothingBehindWhenMemoryRunsOut) {
  const resampler_structure structure = chain_of({sinc_spec(0.9, 15), filter_spec(3, 2, 9), filter_spec(1, 2, 9)});
  for (const std::int32_t quality : {0, 3}) {
    EXPECT_GT(fail_each_allocation([&] { return make_chain(structure, quality, 2) != nullptr; }), 10);
  }
  EXPECT_GT(fail_each_allocation([] { return create(48000, 48000) != nullptr; }), 0);
}

TEST(Raesampler, DestroyAcceptsNull) {
  raesampler_destroy(nullptr);
}

// Minimum phase by flag reaches every stage.
TEST(Raesampler, TheMinimumPhaseFlagShortensTheDelay) {
  const resampler_structure structure = chain_of({filter_spec(2, 1, 99), filter_spec(1, 3, 199)});
  const RaesamplerHandle linear = make_chain(structure);
  const RaesamplerHandle minimum = make_chain(structure, RAESAMPLER_FLAG_MINIMUM_PHASE);
  EXPECT_LT(raesampler_input_samples(minimum.get(), 1), raesampler_input_samples(linear.get(), 1) / 3);
}

TEST(Raesampler, PaddingIsSummedFromTheLastStageOn) {
  const resampler_structure structure = chain_of({filter_spec(1, 2, 99), filter_spec(1, 3, 51)});
  const RaesamplerHandle r = make_chain(structure);
  // The last stage's tail is 25, for which the first needs (25 - 1) * 2 + 99 - 49 samples now, and its own tail is 49.
  EXPECT_EQ(raesampler_padding(r.get()), 98 + 49);
}
