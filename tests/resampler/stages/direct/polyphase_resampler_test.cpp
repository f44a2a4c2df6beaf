#include "resampler/stages/direct/polyphase_resampler.h"

#include <gtest/gtest.h>

#include <tuple>

#include "auspool/filter_design.h"
#include "support/chains.h"

using namespace auspool::testing;

namespace {

const auspool::polyphase_resampler &state_of(const Stage &stage) {
  return *static_cast<const auspool::polyphase_resampler *>(stage.state());
}

// The count as the passes over the seam and the block make it.
std::int64_t count_in_passes(const auspool::polyphase_resampler &s, std::int64_t n) {
  const std::int64_t step = s.down / s.up, rest = s.down % s.up, per = step * s.up + rest;
  const auto place = [&](std::int64_t k, std::int64_t from) { return (k * rest + from) / s.up + k * step; };
  const std::int64_t begins = s.fill + 1 - s.taps + n;
  if (begins < 1) return 0;
  const std::int64_t seam = begins >= s.taps ? s.taps - 1 : std::min<std::int64_t>(begins, s.taps - 1);
  std::int64_t in_seam = 0, reached = 0, phase = s.phase;
  if (seam >= 1) {
    in_seam = (seam * s.up - s.phase) / per;
    while (place(in_seam, s.phase) < seam) ++in_seam;
    reached = place(in_seam, s.phase);
    phase = (in_seam * rest + s.phase) % s.up;
  }
  const std::int64_t next = reached - (s.taps - 1);
  const std::int64_t left = begins - s.taps - next;
  if (next < 0 || left < 0) return in_seam;
  std::int64_t in_block = (left * s.up - phase) / per + 1;
  while (place(in_block, phase) <= left) ++in_block;
  return in_seam + in_block;
}

stage_spec rational(std::int32_t up, std::int32_t down, std::int32_t length) {
  stage_spec spec = filter_spec(up, down, length);
  spec.type = RAESAMPLER_STAGE_RATIONAL;
  return spec;
}

}  // namespace

TEST(PolyphaseResampler, CountsAreExactAndMinimalInAnySplit) {
  std::mt19937 random(1);
  for (int round = 0; round < 1500; ++round) {
    const std::int32_t up = random_between(random, 1, 20);
    const std::int32_t down = random_between(random, 1, round % 3 ? 20 : 400);
    if (up == down) continue;
    Stage stage(rational(up, down, random_between(random, 1, 30 * up)), 4);
    stage->reset(stage.state(), round % 2);
    for (int block = 0; block < 8; ++block) {
      const std::int32_t n = random_between(random, 1, block % 2 ? 90 : 300);
      const std::int32_t promised = stage.outputs(n);
      // The passes count from a skip as if the block began behind it.
      ASSERT_EQ(promised, count_in_passes(state_of(stage), n)) << up << "/" << down;
      ASSERT_LE(promised, stage.bound(n));
      const std::int32_t wanted = random_between(random, 1, 50);
      const std::int32_t needed = stage.inputs(wanted);
      ASSERT_GE(stage.outputs(needed), wanted);
      ASSERT_LT(stage.outputs(needed - 1), wanted);
      std::vector<float> out;
      ASSERT_EQ(stage.process<float>(std::vector<float>(static_cast<std::size_t>(n), 1.0f), out), promised);
      ASSERT_EQ(stage.outputs(0), 0);
    }
  }
}

TEST(PolyphaseResampler, PromisesOfAnySplitAddUpToTheWhole) {
  std::mt19937 random(2);
  for (int round = 0; round < 300; ++round) {
    const stage_spec spec = rational(random_between(random, 1, 30), random_between(random, 1, 30), 200);
    Stage whole(spec, 4), split(spec, 4);
    std::int32_t sum = 0, fed = 0;
    for (int block = 0; block < 10; ++block) {
      const std::int32_t n = random_between(random, 1, 150);
      sum += split.outputs(n);
      fed += n;
      std::vector<float> out;
      split.process<float>(std::vector<float>(static_cast<std::size_t>(n)), out);
    }
    ASSERT_EQ(sum, whole.outputs(fed));
  }
}

TEST(PolyphaseResampler, ThePhaseWalksThroughItsExactStates) {
  Stage stage(rational(147, 160, 7737), 4);
  EXPECT_EQ(state_of(stage).taps, 53);
  std::vector<float> out;
  std::int64_t made = 0;
  for (int block = 0; block < 100; ++block) {
    made += stage.process<float>(std::vector<float>(777, 0.0f), out);
    ASSERT_EQ(state_of(stage).phase, made * 160 % 147);
    out.clear();
  }
}

TEST(PolyphaseResampler, EqualFactorsCopy) {
  Stage stage(rational(5, 5, 99), 4);
  EXPECT_FALSE(state_of(stage).line);
  EXPECT_EQ(stage->padding(stage.state()), 0);
  EXPECT_EQ(stage.outputs(100), 100);
  EXPECT_EQ(stage.bound(100), 100);
  EXPECT_EQ(stage.inputs(100), 100);
  stage->reset(stage.state(), 1);
  const auto in = random_samples<float>(100, 3);
  std::vector<float> out;
  stage.process<float>(in, out);
  EXPECT_EQ(out, in);
}

TEST(PolyphaseResampler, ABlockShorterThanTheDelayIsKeptWhole) {
  Stage stage(rational(2, 3, 199), 4);
  EXPECT_EQ(state_of(stage).taps, 100);
  EXPECT_EQ(state_of(stage).delay, 50);
  std::vector<float> out;
  EXPECT_EQ(stage.process<float>(std::vector<float>(30, 1.0f), out), 0);
  EXPECT_EQ(state_of(stage).fill, 50 + 30);
}

TEST(PolyphaseResampler, AStepBeyondTheBlockSkipsTheNextOnes) {
  Stage stage(rational(3, 1000, 12), 4);
  const std::int32_t fill = state_of(stage).fill;
  std::vector<float> out;
  EXPECT_EQ(stage.process<float>(std::vector<float>(50, 1.0f), out), 1);
  EXPECT_EQ(state_of(stage).fill, fill + 50 - 333);
  EXPECT_EQ(stage.process<float>(std::vector<float>(100, 1.0f), out), 0);
}

// The whole taps of the prototype less the delay, not the taps less the delay.
TEST(PolyphaseResampler, TheTailCountsWholeTapsOfTheOddPrototype) {
  struct Row {
    std::int32_t up, length, taps, prototype;
  };
  for (const Row &row : {Row{2, 10, 5, 9}, Row{2, 9, 5, 9}, Row{3, 9, 3, 9}, Row{4, 40, 10, 39}}) {
    Stage stage(rational(row.up, 7, row.length), 4);
    const std::int32_t delay = (row.taps + 1) / 2;
    EXPECT_EQ(state_of(stage).taps, row.taps);
    EXPECT_EQ(state_of(stage).delay, delay);
    EXPECT_EQ(state_of(stage).tail, row.prototype / row.up - delay);
  }
}

// One tap a phase has no past to hold.
TEST(PolyphaseResampler, SingleTapsHaveAnEmptyLine) {
  for (const std::int32_t up : {2, 3, 4}) {
    Stage stage(rational(up, 1, up), 4);
    EXPECT_EQ(state_of(stage).taps, 1);
    EXPECT_EQ(state_of(stage).fill, 0);
    EXPECT_EQ(stage.outputs(10), 10 * up);
  }
}

TEST(PolyphaseResampler, WithPrerollTheFirstInputGivesAnOutput) {
  Stage stage(rational(147, 160, 7737), 4);
  stage->reset(stage.state(), 1);
  std::vector<float> out;
  EXPECT_EQ(stage.process<float>(std::vector<float>(1, 1.0f), out), 1);
}

// How late the middle of the first output's window is, in input samples.
TEST(PolyphaseResampler, LinesUpWithTheInputToWithinASample) {
  struct Row {
    std::int32_t up, taps;
    double late;
  };
  for (const Row &row :
       {Row{4, 10, 3.0 / 4}, Row{5, 10, 4.0 / 5}, Row{5, 11, 4.0 / 10}, Row{4, 11, (4.0 / 2 - 1) / 4}}) {
    Stage stage(rational(row.up, 1, row.up * row.taps), 8);
    std::vector<double> in(200, 0.0), out;
    in[100] = 1;
    stage.process<double>(in, out);
    double sum = 0, moment = 0;
    for (std::size_t i = 0; i < out.size(); ++i) {
      sum += out[i];
      moment += out[i] * static_cast<double>(i);
    }
    EXPECT_NEAR(moment / sum / row.up - 100, row.late, 1e-9) << row.up << ", " << row.taps;
  }
}

// The delay is that of the peak in whole input samples, and never beyond the filter.
TEST(PolyphaseResampler, MinimumPhaseDelaysByItsPeak) {
  for (const auto &[up, length] : {std::pair(2, 99), {3, 300}, {147, 7737}, {3, 3}, {2, 2}}) {
    stage_spec spec = filter_spec(up, 2, length);
    if (up == 2) spec = rational(2, 5, length);
    spec.minimum_phase = 1;
    const std::int32_t taps = (length + up - 1) / up, prototype = (taps * up - 1) | 1;
    std::int32_t peak = -1;
    std::free(create_lp_filter(prototype, AU_WINDOW_KAISER, 1, &peak, up, spec.cutoff, spec.kaiser_beta));
    Stage stage(spec, 4);
    EXPECT_EQ(state_of(stage).delay, std::min(peak / up + 1, (taps * up - 1) & ~1)) << up << ", " << length;
    EXPECT_EQ(state_of(stage).tail, prototype / up - state_of(stage).delay);
  }
}

TEST(PolyphaseResampler, LinearPhaseDelaysByHalfItsTaps) {
  for (const auto &[up, length, delay] :
       {std::tuple(3, 3, 1), {3, 6, 1}, {3, 9, 2}, {3, 297, 50}, {3, 300, 50}, {2, 2, 0}}) {
    Stage stage(rational(up, 5, length), 4);
    EXPECT_EQ(state_of(stage).delay, delay) << up << ", " << length;
  }
}

// Counts of large blocks by large factors pass 32 bits on their way.
TEST(PolyphaseResampler, CountsOfLargeBlocksAreRight) {
  Stage stage(rational(2560, 147, 2560 * 4), 4);
  EXPECT_EQ(stage.bound(1 << 20), static_cast<std::int32_t>(((std::int64_t{1} << 20) * 2560 + 146) / 147));
  EXPECT_NEAR(stage.outputs(1 << 20), stage.bound(1 << 20), 40);
  EXPECT_EQ(stage.bound(0x7fffffff), 0x7fffffff) << "held at the most";
  Stage down(rational(147, 2560, 147 * 9), 4);
  EXPECT_NEAR(static_cast<double>(down.inputs(1 << 26)), std::ldexp(2560.0 / 147, 26), 20);
  EXPECT_EQ(down.inputs(0x7fffffff), 0x7fffffff);
}
