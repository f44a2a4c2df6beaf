#include <auspool/filter_design.h>
#include <auspool/raesampler_planning.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

struct Plan {
  Plan(double in, double out) : count(generate_sdm_resampler_structure(&structure, in, out)) {}
  const stage_spec &operator[](std::int32_t i) const { return structure.stages[i]; }

  resampler_structure structure = {};
  std::int32_t count;
};

void expect_transform(const stage_spec &stage, std::int32_t block_size, std::int32_t transform_size, bool is_complex,
                      std::int32_t up, std::int32_t down) {
  EXPECT_EQ(stage.type, static_cast<std::uint32_t>(RAESAMPLER_STAGE_SDM));
  EXPECT_EQ(stage.block_size, block_size);
  EXPECT_EQ(stage.transform_size, transform_size);
  EXPECT_EQ(stage.complex_input, is_complex ? 1u : 0u);
  EXPECT_EQ(stage.up, up);
  EXPECT_EQ(stage.down, down);
  EXPECT_DOUBLE_EQ(stage.ratio, transform_size / (2.0 * block_size));
  EXPECT_EQ(stage.length, 1);
  EXPECT_EQ(stage.minimum_phase, 0u);
  for (const double one : {stage.gain, stage.cutoff, stage.kaiser_beta, stage.pass_edge, stage.stop_edge}) {
    EXPECT_EQ(one, 1.0);
  }
  EXPECT_EQ(stage.window, static_cast<std::uint32_t>(AU_WINDOW_KAISER));
}

void expect_converter(const stage_spec &stage) {
  EXPECT_EQ(stage.type, static_cast<std::uint32_t>(RAESAMPLER_STAGE_COMPLEX_TO_REAL));
  EXPECT_EQ(stage.up, 1);
  EXPECT_EQ(stage.down, 2);
  EXPECT_EQ(stage.length, 10001);
  EXPECT_EQ(stage.minimum_phase, 0u);
  EXPECT_EQ(stage.window, static_cast<std::uint32_t>(AU_WINDOW_KAISER));
  EXPECT_EQ(stage.kaiser_beta, 21.0);
  for (const double one : {stage.ratio, stage.gain, stage.cutoff, stage.pass_edge, stage.stop_edge}) {
    EXPECT_EQ(one, 1.0);
  }
}

// The rate that comes out is the rate asked for: by the stages' ratios, by their factors, which count values, and by
// the sizes of their blocks. And signals are complex from the first transform to the converter.
void expect_the_ratio(const Plan &plan, double ratio) {
  double by_ratio = 1, by_factors = 1, by_blocks = 1;
  bool is_complex = false;
  for (std::int32_t i = 0; i < plan.count; ++i) {
    const stage_spec &stage = plan[i];
    by_ratio *= stage.ratio;
    by_factors *= static_cast<double>(stage.up) / stage.down;
    const bool transforms = stage.type == RAESAMPLER_STAGE_SDM;
    if (transforms) {
      ASSERT_EQ(stage.complex_input != 0, is_complex);
      ASSERT_EQ(stage.transform_size % 2, 0);
      ASSERT_GE(stage.transform_size, 30);
    }
    by_blocks *= transforms ? stage.transform_size / (2.0 * stage.block_size) : stage.ratio;
    is_complex |= transforms;
  }
  ASSERT_NEAR(by_ratio / ratio, 1, 1e-12);
  ASSERT_NEAR(by_factors / ratio, 1, 1e-12);
  ASSERT_NEAR(by_blocks / ratio, 1, 1e-12);
  expect_converter(plan[plan.count - 1]);
}

// Whether each of its matrices is small enough to be designed.
bool can_be_built(const Plan &plan) {
  for (std::int32_t i = 0; i < plan.count; ++i) {
    if (plan[i].transform_size * std::int64_t{plan[i].block_size} > 100000) return false;
  }
  return plan.count > 0;
}

}  // namespace

TEST(SdmPlan, OfASixtyFourthTakesASixteenthAndAQuarter) {
  const Plan plan(2822400, 44100);
  ASSERT_EQ(plan.count, 3);
  expect_transform(plan[0], 256, 32, false, 1, 8);
  expect_transform(plan[1], 64, 32, true, 1, 4);
  expect_converter(plan[2]);
}

TEST(SdmPlan, ReachesEachPowerOfTwo) {
  std::int32_t stages = 0;
  for (double ratio = 2; ratio <= 1 << 20; ratio *= 2) {
    SCOPED_TRACE(ratio);
    const Plan plan(44100 * ratio, 44100);
    if (44100 * ratio > std::numeric_limits<std::int32_t>::max()) {
      EXPECT_EQ(plan.count, -1);
      continue;
    }
    expect_the_ratio(plan, 1 / ratio);
    stages = plan.count;
  }
  EXPECT_EQ(stages, 5);  // 2^15 is three sixteenths, an eighth and the converter
}

TEST(SdmPlan, RisesFirstWhereTheRateFallsByLessThanTwo) {
  const Plan plan(48000, 44100);
  ASSERT_EQ(plan.count, 3);
  const stage_spec &stage = plan[0];
  EXPECT_EQ(stage.type, static_cast<std::uint32_t>(RAESAMPLER_STAGE_INTERPOLATOR));
  EXPECT_EQ(stage.up, 2);
  EXPECT_EQ(stage.down, 1);
  EXPECT_EQ(stage.ratio, 2.0);
  EXPECT_EQ(stage.gain, 2.0);
  EXPECT_EQ(stage.window, static_cast<std::uint32_t>(AU_WINDOW_KAISER));
  EXPECT_DOUBLE_EQ(stage.pass_edge, 44100.0 / 96000.0);
  EXPECT_DOUBLE_EQ(stage.stop_edge, 2 * 44100.0 / 96000.0 * 0.95);
  double beta = 0, cutoff = 0;
  const auto length = kaiser_estimate(&beta, &cutoff, stage.pass_edge, stage.stop_edge, 1e-10, 1e-10) | 1;
  EXPECT_EQ(stage.length, static_cast<std::int32_t>(length));
  EXPECT_EQ(stage.kaiser_beta, beta);
  EXPECT_EQ(stage.cutoff, cutoff);
  expect_transform(plan[1], 320, 294, false, 147, 160);
  expect_converter(plan[2]);
}

TEST(SdmPlan, DoesNotRiseForExactlyTwo) {
  const Plan plan(88200, 44100);
  ASSERT_EQ(plan.count, 2);
  expect_transform(plan[0], 32, 32, false, 1, 1);
}

TEST(SdmPlan, LengthensShortTransforms) {
  const Plan plan(3 * 44100, 44100);
  ASSERT_EQ(plan.count, 2);
  expect_transform(plan[0], 48, 32, false, 2, 3);
}

// 294/5: a sixteenth, which 294 has not, so that the other transform makes up for it.
TEST(SdmPlan, TakesThePowersOfTwoFromWhatIsNoMultipleOfThem) {
  const Plan plan(2822400, 48000);
  ASSERT_EQ(plan.count, 3);
  expect_transform(plan[0], 256, 32, false, 1, 8);
  expect_transform(plan[1], 294, 160, true, 40, 147);
}

TEST(SdmPlan, IsNoneWhereTheRateDoesNotFallOrIsNotWhole) {
  EXPECT_EQ(Plan(44100, 44100).count, -1);
  EXPECT_EQ(Plan(44100, 48000).count, -1);
  EXPECT_EQ(Plan(96000.5, 48000).count, -1);
  EXPECT_EQ(Plan(96000, 44100.5).count, -1);
  EXPECT_EQ(Plan(96000, 0).count, -1);
  EXPECT_EQ(Plan(96000, -1).count, -1);
  EXPECT_EQ(Plan(std::nan(""), 1).count, -1);
  EXPECT_EQ(Plan(std::numeric_limits<double>::infinity(), 1).count, -1);
}

TEST(SdmPlan, IsNoneForNumbersBeyondCounting) {
  const Plan none(2147483647, 2147483645);
  EXPECT_EQ(none.count, -1);
  EXPECT_EQ(none.structure.count, 0) << "nothing is left of the attempt";
  EXPECT_GT(Plan(1000000007, 44100).count, 0);  // a plan, if none that can be built
}

// All whole ratios, also those that are no powers of two and no products of sixteens: 3, 5, 20 ...
TEST(SdmPlan, GivesTheRateForEachWholeRatio) {
  for (std::int32_t ratio = 2; ratio <= 300; ++ratio) {
    SCOPED_TRACE(ratio);
    const Plan plan(8000.0 * ratio, 8000);
    ASSERT_TRUE(can_be_built(plan));
    expect_the_ratio(plan, 1.0 / ratio);
  }
}

TEST(SdmPlan, GivesTheRateForTheUsualPairs) {
  for (const double in : {48000., 64000., 88200., 96000., 176400., 192000., 352800., 384000., 705600., 768000.,
                          1411200., 2822400., 3072000., 5644800., 11289600.}) {
    for (const double out : {8000., 11025., 16000., 22050., 32000., 44100., 48000., 88200., 96000., 176400., 192000.}) {
      if (in <= out) continue;
      SCOPED_TRACE(std::to_string(in) + " to " + std::to_string(out));
      const Plan plan(in, out);
      ASSERT_GT(plan.count, 0);
      expect_the_ratio(plan, out / in);
    }
  }
}

// 3:2 rises to 3:1 first.
TEST(SdmPlan, GivesTheRateForEachRatioOfSmallNumbers) {
  for (std::int32_t up = 1; up < 40; ++up) {
    for (std::int32_t down = up + 1; down < 80; ++down) {
      SCOPED_TRACE(std::to_string(up) + "/" + std::to_string(down));
      const Plan plan(1000.0 * down, 1000.0 * up);
      ASSERT_GT(plan.count, 0);
      EXPECT_EQ(plan[0].type == RAESAMPLER_STAGE_INTERPOLATOR, down < 2 * up);
      expect_the_ratio(plan, static_cast<double>(up) / down);
    }
  }
}

TEST(SdmPlan, CanBeBuiltBetweenTheRatesOfDiscsAndStudiosAndTheirMultiples) {
  for (const double in :
       {48000, 88200, 96000, 176400, 192000, 352800, 384000, 705600, 768000, 1411200, 1536000, 2822400, 3072000}) {
    for (const double out : {44100, 48000, 88200, 96000}) {
      EXPECT_TRUE(in <= out || can_be_built(Plan(in, out))) << in << " to " << out;
    }
  }
  EXPECT_FALSE(can_be_built(Plan(64000, 44100)));
  EXPECT_FALSE(can_be_built(Plan(5644800, 48000)));
}
