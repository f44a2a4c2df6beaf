#include <auspool/filter_design.h>
#include <auspool/raesampler_planning.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "resampler/planning/candidates.h"
#include "resampler/planning/generate.h"
#include "support/watch.h"

namespace auspool {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

stage_spec make_stage(std::uint32_t type, std::int32_t up, std::int32_t down, std::int32_t length) {
  stage_spec stage = {};
  stage.type = type;
  stage.up = up;
  stage.down = down;
  stage.length = length;
  stage.ratio = static_cast<double>(up) / down;
  return stage;
}

double chain_ratio(const resampler_structure &structure) {
  double ratio = 1;
  for (std::int32_t i = 0; i < structure.count; ++i) ratio *= structure.stages[i].ratio;
  return ratio;
}

TEST(Cost, CountsADirectFilterPerInputSampleWhateverItsInterpolation) {
  stage_spec stage = make_stage(RAESAMPLER_STAGE_RATIONAL, 147, 160, 7737);
  double memory = 0;
  EXPECT_EQ(estimate_stage_cost(&stage, &memory), 7737.0 / 160);
  EXPECT_EQ(memory, 7737);
  stage.up = 1;
  EXPECT_EQ(estimate_stage_cost(&stage, nullptr), 7737.0 / 160);
}

TEST(Cost, OfFastConvolutionIsThatOfItsTransforms) {
  stage_spec stage = make_stage(0, 1, 1, 345);
  for (const std::uint32_t type : {5u, 6u, 7u}) {
    stage.type = type;
    std::uint32_t log2 = 0;
    const double size = fft_size_for_filter_length(345, &log2, 0);
    const double work = (log2 - 1) * size / 2;
    double memory = 0;
    EXPECT_EQ(estimate_stage_cost(&stage, &memory), (6 * work + (6 * work + 2 * size)) / (size - 344));
    EXPECT_EQ(memory, 4 * size);
  }
}

TEST(Cost, OfASincStageFollowsItsRatio) {
  stage_spec stage = {};
  stage.type = RAESAMPLER_STAGE_SINC;
  stage.length = 63;
  stage.ratio = 1.5;
  double memory = 0;
  EXPECT_EQ(estimate_stage_cost(&stage, &memory), 50.0 * 63 * 1.5);
  EXPECT_EQ(memory, 189);
}

TEST(Cost, IsInfiniteForAFilterThatCannotBeMade) {
  for (std::uint32_t type = 0; type < 10; ++type) {
    for (const std::int32_t length : {0, -1}) {
      const stage_spec stage = make_stage(type, 1, 1, length);
      double memory = 0;
      EXPECT_EQ(estimate_stage_cost(&stage, &memory), kInfinity);
      EXPECT_EQ(memory, kInfinity);
    }
  }
}

TEST(Cost, OfAChainIsPerSampleOfItsInput) {
  resampler_structure chain = {};
  chain.count = 2;
  chain.stages[0] = chain.stages[1] = make_stage(RAESAMPLER_STAGE_DECIMATOR, 1, 2, 100);
  double memory = 0;
  EXPECT_EQ(estimate_structure_cost(&chain, &memory), 50 + 0.5 * 50);
  EXPECT_EQ(memory, 200);
}

TEST(Optimize, LeavesRealTimeChainsDirect) {
  resampler_structure chain = {};
  chain.count = 1;
  chain.stages[0] = make_stage(RAESAMPLER_STAGE_FILTER, 1, 1, 9999);
  chain.cost = 9999;
  resampler_structure other = chain;
  EXPECT_EQ(optimize_structure(0, &chain), 9999);
  EXPECT_EQ(chain.stages[0].type, static_cast<std::uint32_t>(RAESAMPLER_STAGE_FILTER));
  EXPECT_LT(optimize_structure(1, &other), 9999);
  EXPECT_EQ(other.stages[0].type, static_cast<std::uint32_t>(RAESAMPLER_STAGE_FFT_FILTER));
}

TEST(Optimize, KeepsShortAndRationalStagesDirect) {
  resampler_structure chain = {};
  chain.count = 2;
  chain.stages[0] = make_stage(RAESAMPLER_STAGE_DECIMATOR, 1, 2, 17);
  chain.stages[1] = make_stage(RAESAMPLER_STAGE_RATIONAL, 3, 4, 9999);
  chain.cost = estimate_structure_cost(&chain, nullptr);
  const double before = chain.cost;
  EXPECT_EQ(optimize_structure(4, &chain), before);
  EXPECT_EQ(chain.stages[0].type, 0u);
  EXPECT_EQ(chain.stages[1].type, 2u);
}

TEST(Generate, KnowsTheCommonRatesAtQualityZero) {
  resampler_structure structure;
  double ratio = 0;
  ASSERT_EQ(generate_resampler_structure(0, &ratio, 0, 0, &structure, 48000, 44100, 0), 1);
  EXPECT_EQ(structure.stages[0].type, 2u);
  EXPECT_EQ(structure.stages[0].up, 147);
  EXPECT_EQ(structure.stages[0].down, 160);
  EXPECT_EQ(structure.stages[0].length, 7737);
  EXPECT_EQ(ratio, 44100.0 / 48000.0);
}

TEST(Generate, GivesTheSincCandidateForRatesThatAreNotWhole) {
  resampler_structure structure;
  ASSERT_EQ(generate_resampler_structure(1, nullptr, 0, 0, &structure, 44100.5, 48000, 0), 2);
  EXPECT_EQ(structure.stages[0].type, 4u);  // going up, the sinc stage comes first
  EXPECT_EQ(structure.stages[0].length, 63);
  EXPECT_EQ(structure.stages[0].up, 48000);
  EXPECT_EQ(structure.stages[0].down, 44100);
  EXPECT_EQ(structure.stages[0].ratio, 48000 / 44100.5);
  EXPECT_EQ(structure.stages[0].cutoff, 1);
  EXPECT_EQ(structure.stages[0].gain, 1);
  ASSERT_EQ(generate_resampler_structure(0, nullptr, 0, 0, &structure, 48000, 44100.5, 0), 2);
  EXPECT_EQ(structure.stages[0].type, 1u);  // going down, the filter does
  EXPECT_EQ(structure.stages[1].type, 4u);
}

TEST(Generate, HasNothingToDoForEqualRates) {
  resampler_structure structure;
  double ratio = 0;
  EXPECT_EQ(generate_resampler_structure(3, &ratio, 0, 0, &structure, 44100, 44100, 0), 0);
  EXPECT_EQ(ratio, 1);
  EXPECT_EQ(generate_resampler_structure(3, &ratio, 0, 0, &structure, 44100, 44100.01, 1e-3), 0);
  EXPECT_EQ(ratio, 1);
  EXPECT_EQ(generate_resampler_structure2(3, 0, 0, &structure, 44100, 44100), 0);
}

TEST(Generate, AnswersEqualRatesWithDriftByOneSincStage) {
  resampler_structure structure;
  for (const double tolerance : {0.0, 1e-3}) {
    ASSERT_EQ(generate_resampler_structure(2, nullptr, 1, 0, &structure, 48000, 48000 + tolerance, tolerance), 1);
    EXPECT_EQ(structure.stages[0].type, 4u);
    EXPECT_EQ(structure.stages[0].ratio, 1);
    EXPECT_EQ(structure.cost, 0);
  }
}

TEST(Generate, PutsTheDriftStageInFront) {
  resampler_structure structure;
  ASSERT_EQ(generate_resampler_structure(0, nullptr, 1, 0, &structure, 48000, 44100, 0), 2);
  EXPECT_EQ(structure.stages[0].type, 4u);
  EXPECT_EQ(structure.stages[0].length, 15);
  EXPECT_EQ(structure.stages[1].length, 7737);
}

TEST(Generate, KeepsARoundedRatioIfItIsCheaper) {
  resampler_structure structure;
  double ratio = 0;
  ASSERT_GT(generate_resampler_structure(2, &ratio, 0, 0, &structure, 44100.5, 88201.3, 1e-3), 0);
  EXPECT_EQ(ratio, 2);
  EXPECT_NEAR(chain_ratio(structure), 2, 1e-12);
}

// A fifth is near enough to 80/441 at quality 0, but its one long filter costs more than two stages.
TEST(Generate, RefusesARoundedRatioThatIsNotCheaper) {
  resampler_structure exact, rounded, chosen;
  ASSERT_GT(generate_resampler_structure2(0, 0, 0, &exact, 44100, 8000), 0);
  ASSERT_GT(generate_resampler_structure2(0, 0, 0, &rounded, 5, 1), 0);
  ASSERT_GT(rounded.cost, exact.cost);
  double ratio = 0;
  ASSERT_EQ(generate_resampler_structure(0, &ratio, 0, 0, &chosen, 44100, 8000, 0.05), exact.count);
  EXPECT_EQ(ratio, 8000.0 / 44100.0);
  EXPECT_EQ(chosen.cost, exact.cost);
  EXPECT_NEAR(chain_ratio(chosen), ratio, 1e-12);
}

TEST(Generate, PlansBlockTransformsWhereTheyAreAskedFor) {
  resampler_structure structure;
  double ratio = 0;
  ASSERT_EQ(generate_resampler_structure(2, &ratio, 0, 1, &structure, 2822400, 44100, 0), 3);
  EXPECT_EQ(ratio, 1.0 / 64);
  EXPECT_EQ(structure.stages[0].type, static_cast<std::uint32_t>(RAESAMPLER_STAGE_SDM));
  ASSERT_EQ(generate_resampler_structure(2, &ratio, 1, 1, &structure, 2822400, 44100, 0), 4);
  EXPECT_EQ(structure.stages[0].type, static_cast<std::uint32_t>(RAESAMPLER_STAGE_SINC));
}

TEST(Generate, HasNoBlockTransformsGoingUp) {
  resampler_structure structure;
  EXPECT_EQ(generate_resampler_structure(2, nullptr, 0, 1, &structure, 44100, 2822400, 0), -1);
  EXPECT_EQ(generate_resampler_structure2(2, 0, 1, &structure, 44100, 44100), -1);
}

// Rates that are not whole have block transforms only where a ratio near theirs has.
TEST(Generate, RoundsRatesThatAreNotWholeForBlockTransforms) {
  resampler_structure structure;
  double ratio = 0;
  EXPECT_EQ(generate_resampler_structure(2, &ratio, 0, 1, &structure, 2822400.5, 44100, 0), -1);
  ASSERT_EQ(generate_resampler_structure(2, &ratio, 0, 1, &structure, 2822400.5, 44100, 1e-6), 3);
  EXPECT_EQ(ratio, 1.0 / 64);
}

TEST(Generate, RefusesWhatIsNoQualityAndNoRate) {
  resampler_structure structure;
  for (const std::int32_t quality : {-1, 5, 15}) {
    EXPECT_EQ(generate_resampler_structure(quality, nullptr, 0, 0, &structure, 1, 2, 0), -1);
  }
  for (const double rate : {0.0, -1.0, kInfinity, std::nan("")}) {
    EXPECT_EQ(generate_resampler_structure(1, nullptr, 0, 0, &structure, rate, 44100, 0), -1);
    EXPECT_EQ(generate_resampler_structure(1, nullptr, 0, 0, &structure, 44100, rate, 0), -1);
  }
}

TEST(Generate, MakesTheAskedRatioAtEveryQuality) {
  const std::int32_t rates[] = {8000, 11025, 44100, 44101, 48000, 96000, 192000, 999983};
  for (std::int32_t quality = 0; quality < 5; ++quality) {
    for (const std::int32_t in : rates) {
      for (const std::int32_t out : rates) {
        if (in == out) continue;
        resampler_structure structure;
        const double ratio = static_cast<double>(out) / in;
        ASSERT_GT(generate_resampler_structure2(quality, 0, 0, &structure, in, out), 0) << in << " " << out;
        EXPECT_NEAR(chain_ratio(structure), ratio, ratio * 1e-9) << in << " " << out;
        EXPECT_TRUE(std::isfinite(structure.cost));
        for (std::int32_t i = 0; i < structure.count; ++i) {
          EXPECT_TRUE(quality > 0 || structure.stages[i].type < 5);
        }
      }
    }
  }
}

// A single stage for this ratio would cost less than half, and have half a thousand million taps.
TEST(Generate, RefusesChainsThatWouldFillMemory) {
  resampler_structure structure;
  ASSERT_GT(generate_resampler_structure2(4, 0, 0, &structure, 99991, 100003), 0);
  EXPECT_LT(structure.memory, 67108864.0);
  EXPECT_GT(structure.cost, 10000.0);
}

TEST(Generate, SurvivesWithoutMemoryForItsSearch) {
  const testing::CallFailer failer("operator new");
  resampler_structure structure;
  EXPECT_GT(generate_resampler_structure2(1, 0, 0, &structure, 48000, 8000), 0);
  EXPECT_GT(failer.failures(), 0);
}

TEST(Candidates, SplitMergeAndReverseTheirFactors) {
  // 16: [16], [2 8], [2 2 4], [2 2 2 2]; merged [4 4], [8 2]; reversed all but the first.
  const auto candidates = factored_candidates(0, {16, 1});
  ASSERT_EQ(candidates.size(), 11u);
  const auto ups = [&](std::size_t slot) {
    std::vector<std::int32_t> factors;
    for (std::int32_t i = 0; i < candidates[slot].count; ++i) factors.push_back(candidates[slot].stages[i].up);
    return factors;
  };
  const std::vector<std::vector<std::int32_t>> expected = {
      {16}, {2, 8}, {2, 2, 4}, {2, 2, 2, 2}, {4, 4}, {8, 2}, {8, 2}, {4, 2, 2}, {2, 2, 2, 2}, {4, 4}, {2, 8}};
  for (std::size_t slot = 0; slot < expected.size(); ++slot) EXPECT_EQ(ups(slot), expected[slot]) << slot;
}

TEST(Candidates, LeaveTheRestToARationalStage) {
  for (const auto &candidate : factored_candidates(0, {2560, 147})) {
    EXPECT_EQ(candidate.stages[0].type, 2u);
    EXPECT_EQ(candidate.stages[0].down, 147);
  }
  for (const auto &candidate : factored_candidates(0, {147, 2560})) {
    EXPECT_EQ(candidate.stages[candidate.count - 1].type, 2u);
    EXPECT_EQ(candidate.stages[candidate.count - 1].up, 147);
  }
}

TEST(Candidates, HaveNoRowOfFactorsWhereNoneFits) {
  EXPECT_TRUE(factored_candidates(0, {160, 147}).empty());
  EXPECT_TRUE(factored_candidates(0, {3, 2}).empty());
}

TEST(Candidates, ChooseTheFirstMixedStageByTheRoomThereIs) {
  const struct {
    Fraction ratio;
    std::optional<Fraction> first;
  } cases[] = {
      {{147, 160}, Fraction{3, 1}}, {{160, 147}, Fraction{4, 1}}, {{3, 8}, Fraction{1, 1}},
      {{2, 3}, Fraction{2, 1}},     {{3, 2}, Fraction{3, 1}},     {{147, 640}, Fraction{1, 2}},
      {{49, 60}, Fraction{7, 1}},   {{11, 13}, std::nullopt},     {{13, 11}, std::nullopt},
      {{1, 3}, std::nullopt},       {{3, 1}, std::nullopt},       {{147, 80}, Fraction{21, 1}},
      {{35, 11}, Fraction{7, 1}},   {{20, 9}, Fraction{5, 1}},
  };
  for (const auto &c : cases) {
    const auto first = mixed_first_stage(c.ratio);
    ASSERT_EQ(first.has_value(), c.first.has_value()) << c.ratio.up << "/" << c.ratio.down;
    if (!first) continue;
    EXPECT_EQ(first->up, c.first->up) << c.ratio.up << "/" << c.ratio.down;
    EXPECT_EQ(first->down, c.first->down) << c.ratio.up << "/" << c.ratio.down;
  }
}

TEST(Ratio, FindsTheLargestDivisorWithinALimit) {
  for (std::int32_t value = 1; value < 200; ++value) {
    for (std::int32_t limit = 0; limit < 200; ++limit) {
      std::int32_t expected = 0;
      for (std::int32_t d = 2; d <= std::min(value, limit); ++d) {
        if (value % d == 0) expected = d;
      }
      ASSERT_EQ(largest_divisor(value, limit), expected) << value << " " << limit;
    }
  }
}

TEST(Ratio, ApproximatesByTheSimplestConvergent) {
  const auto near = approximate_ratio(48000.1 / 44100.0, 1e-5);
  ASSERT_TRUE(near);
  EXPECT_EQ(near->up, 160);
  EXPECT_EQ(near->down, 147);
  EXPECT_FALSE(approximate_ratio(1 + 1e-12, 1e-15));
}

}  // namespace
}  // namespace auspool
