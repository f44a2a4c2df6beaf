#include "resampler/stages/direct/polyphase_decimator.h"

#include <gtest/gtest.h>

#include "auspool/filter_design.h"
#include "support/chains.h"

using namespace auspool::testing;

namespace {

// The count as the two passes over the seam and the block make it.
std::int64_t count_in_passes(std::int64_t fill, std::int64_t length, std::int64_t down, std::int64_t n) {
  const std::int64_t past = length - 1;
  const std::int64_t begins = fill - past + n;
  if (begins < 1) return 0;
  const std::int64_t seam = begins >= length ? past : std::min(begins, past);
  const std::int64_t in_seam = seam > 0 ? (seam + down - 1) / down : 0;
  const std::int64_t next = in_seam * down - past;
  const std::int64_t left = begins - length - next;
  return next >= 0 && left >= 0 ? in_seam + left / down + 1 : in_seam;
}

}  // namespace

TEST(PolyphaseDecimator, CountsAreExactAndMinimalInAnySplit) {
  std::mt19937 random(4);
  for (int round = 0; round < 1500; ++round) {
    const std::int32_t down = random_between(random, 1, round % 3 ? 8 : 200);
    const std::int32_t length = random_between(random, 1, 60);
    Stage stage(filter_spec(1, down, length), 4);
    stage->reset(stage.state(), round % 2);
    const auto *state = static_cast<const auspool::polyphase_decimator *>(stage.state());
    for (int block = 0; block < 8; ++block) {
      const std::int32_t n = random_between(random, 1, block % 2 ? 3 * length : 300);
      const std::int32_t promised = stage.outputs(n);
      ASSERT_EQ(promised, count_in_passes(state->fill, length, down, n));
      ASSERT_LE(promised, stage.bound(n));
      const std::int32_t wanted = random_between(random, 1, 50);
      const std::int32_t needed = stage.inputs(wanted);
      ASSERT_GE(stage.outputs(needed), wanted);
      ASSERT_LT(stage.outputs(needed - 1), wanted);
      std::vector<float> out;
      ASSERT_EQ(stage.process<float>(std::vector<float>(static_cast<std::size_t>(n), 1.0f), out), promised);
    }
  }
}

TEST(PolyphaseDecimator, ABlockShorterThanTheDelayIsKeptWhole) {
  Stage stage(filter_spec(1, 2, 99), 4);
  const auto *state = static_cast<const auspool::polyphase_decimator *>(stage.state());
  EXPECT_EQ(state->delay, 50);
  EXPECT_EQ(state->tail, 49);
  EXPECT_EQ(state->fill, 49);
  std::vector<float> out;
  EXPECT_EQ(stage.process<float>(std::vector<float>(30, 1.0f), out), 0);
  EXPECT_EQ(state->fill, 79);
}

TEST(PolyphaseDecimator, AStepBeyondTheBlockSkipsTheNextOnes) {
  Stage stage(filter_spec(1, 100, 9), 4);
  const auto *state = static_cast<const auspool::polyphase_decimator *>(stage.state());
  std::vector<float> out;
  EXPECT_EQ(stage.process<float>(std::vector<float>(20, 1.0f), out), 1);
  EXPECT_EQ(state->fill, 4 + 20 - 100);
  EXPECT_EQ(stage.inputs(1), 76 + 9);
  EXPECT_EQ(stage.process<float>(std::vector<float>(70, 1.0f), out), 0);
  EXPECT_EQ(state->fill, -6);
}

// A block that begins within the skipped samples is used from its start, and shorter by as many.
TEST(PolyphaseDecimator, SkippingShortensABlockAndLeavesItsStart) {
  Stage stage(filter_spec(1, 100, 3), 8);
  stage->reset(stage.state(), 1);
  std::vector<double> out;
  ASSERT_EQ(stage.process<double>(std::vector<double>{1, 2, 3, 4}, out), 1);
  std::vector<double> ramp(120);
  for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<double>(i);
  ASSERT_EQ(stage.process<double>(ramp, out), 1);
  const auto *taps = static_cast<const double *>(stage->shared);
  EXPECT_NEAR(out[1], taps[1] * 1 + taps[2] * 2, 1e-15);
}

TEST(PolyphaseDecimator, WithPrerollTheFirstInputGivesAnOutput) {
  Stage stage(filter_spec(1, 2, 99), 4);
  stage->reset(stage.state(), 1);
  EXPECT_EQ(stage.inputs(1), 1);
  EXPECT_EQ(stage.outputs(1), 1);
}

// One tap has no past to hold: a line that counted a sample there would give an output too many.
TEST(PolyphaseDecimator, ASingleTapHasAnEmptyLine) {
  Stage stage(filter_spec(1, 1, 1), 4);
  EXPECT_EQ(static_cast<const auspool::polyphase_decimator *>(stage.state())->fill, 0);
  EXPECT_EQ(stage.outputs(10), 10);
  std::vector<float> out;
  EXPECT_EQ(stage.process<float>(std::vector<float>(10, 1.0f), out), 10);
}

TEST(PolyphaseDecimator, PaddingBringsOutEveryInput) {
  for (const std::int32_t length : {2, 9, 98, 99}) {
    Stage stage(filter_spec(1, 1, length), 4);
    std::vector<float> out;
    stage.process<float>(random_samples<float>(1000, 5), out);
    stage.process<float>(std::vector<float>(static_cast<std::size_t>(stage->padding(stage.state()))), out);
    // The middle of an even filter lies between two samples: there is one output more.
    EXPECT_EQ(out.size(), length % 2 ? 1000u : 1001u) << length;
  }
}

TEST(PolyphaseDecimator, MinimumPhaseDelaysByItsPeak) {
  for (const std::int32_t length : {1, 2, 98, 99}) {
    stage_spec spec = filter_spec(1, 2, length);
    spec.minimum_phase = 1;
    std::int32_t peak = -1;
    std::free(create_lp_filter(length, AU_WINDOW_KAISER, 1, &peak, 1.0, spec.cutoff, spec.kaiser_beta));
    Stage stage(spec, 8);
    const auto *state = static_cast<const auspool::polyphase_decimator *>(stage.state());
    EXPECT_EQ(state->delay, std::min(peak + 1, length - 1)) << length;
    EXPECT_EQ(state->tail, length - state->delay);
    EXPECT_EQ(stage->padding(stage.state()), state->tail);
  }
}

TEST(PolyphaseDecimator, LinearPhaseDelaysByHalfItsTaps) {
  for (const auto &[length, delay] : {std::pair(1, 0), {2, 1}, {3, 2}, {98, 49}, {99, 50}}) {
    Stage stage(filter_spec(1, 2, length), 4);
    const auto *state = static_cast<const auspool::polyphase_decimator *>(stage.state());
    EXPECT_EQ(state->delay, delay) << length;
    EXPECT_EQ(state->tail, length - delay) << length;
  }
}

TEST(PolyphaseDecimator, RefusesWhatMakesNoFilter) {
  raesampler_stage stage = {};
  const auto refused = [&](stage_spec spec, std::int32_t sample_size = 4, std::int32_t channels = 1) {
    return create_polyphase_decimator_stage(sample_size, &stage, &spec, channels) == -1 && !stage.states;
  };
  const stage_spec good = filter_spec(1, 2, 9);
  stage_spec spec = good;
  EXPECT_TRUE(refused(good, 2));
  EXPECT_TRUE(refused(good, 4, 0));
  EXPECT_TRUE((spec = good, spec.length = 0, refused(spec)));
  EXPECT_TRUE((spec = good, spec.down = 0, refused(spec)));
  EXPECT_TRUE((spec = good, spec.up = 2, refused(spec)));
  EXPECT_TRUE((spec = good, spec.gain = NAN, refused(spec)));
  EXPECT_TRUE((spec = good, spec.kaiser_beta = INFINITY, refused(spec)));
}
