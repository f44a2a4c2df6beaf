#include "resampler/stages/direct/sinc_resampler.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "auspool/filter_design.h"
#include "support/chains.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

const sinc_resampler &state_of(const Stage &stage) {
  return *static_cast<const sinc_resampler *>(stage.state());
}

}  // namespace

TEST(SincTable, TheFixedArraysAreWhatTheDesignGives) {
  const auto memory = make_sinc_table<double>(sinc_spec(1.0, 15, 5.0));
  const auto &table = *reinterpret_cast<const sinc_table<double> *>(memory.get());
  EXPECT_EQ(table.resolution, 1024);
  EXPECT_EQ(table.centre_offset, 7168);
  for (std::size_t i = 0; i < sinc15_data.size(); ++i) {
    ASSERT_NEAR(sinc15_data[i], table.values[i], 1e-9 + 6e-8 * std::abs(table.values[i])) << i;
    ASSERT_NEAR(diff15_data[i], table.deltas[i], 1e-9 + 6e-8 * std::abs(table.deltas[i])) << i;
  }
}

TEST(SincTable, StepsOfOneFractionAreARowAndTheEndFallsToZero) {
  const auto memory = make_sinc_table<double>(sinc_spec(1.0, 7, 5.0));
  const auto &table = *reinterpret_cast<const sinc_table<double> *>(memory.get());
  EXPECT_EQ(table.values[3], 1.0) << "the middle of seven";
  const auto step = [&](int s) { return (s >> 10) + (s & 1023) * 7; };
  for (int s = 0; s + 1 < 7 * 1024; ++s) {
    ASSERT_NEAR(table.values[step(s)] + table.deltas[step(s)], table.values[step(s + 1)], 1e-15) << s;
  }
  EXPECT_EQ(table.deltas[7 * 1024], -table.values[7 * 1024]);
}

TEST(SincResampler, FifteenFloatTapsUseTheFixedTable) {
  Stage drift(sinc_spec(1.0, 15, 12.0), 4), wide(sinc_spec(1.0, 15, 12.0), 8), longer(sinc_spec(1.0, 17, 12.0), 4);
  EXPECT_EQ(static_cast<const sinc_table<float> *>(drift->shared)->values, sinc15_data.data());
  const auto *table = static_cast<const sinc_table<double> *>(wide->shared);
  EXPECT_GT(std::abs(table->values[1] - static_cast<double>(sinc15_data[1 + 15 * 512])), 0.0) << "its own window";
  EXPECT_NE(static_cast<const sinc_table<float> *>(longer->shared)->values, sinc15_data.data());
}

TEST(SincResampler, WindowsAreChosenByKind) {
  for (const std::uint32_t window : {0u, 1u, 2u, 9u}) {
    stage_spec spec = sinc_spec(1.0, 7, 6.0);
    spec.window = window;
    const auto memory = make_sinc_table<double>(spec);
    const auto &table = *reinterpret_cast<const sinc_table<double> *>(memory.get());
    std::vector<double> applied(7 * 1024 + 1025, 1.0);
    const auto length = static_cast<std::int32_t>(applied.size());
    if (window == 0)
      apply_hamming_window_with_gain(applied.data(), length, 1.0);
    else if (window == 1)
      apply_blackman_window_with_gain(applied.data(), length, 1.0);
    else
      apply_kaiser_window_with_gain(applied.data(), length, 6.0, 1.0);
    const double x = M_PI * 1536 / 1024;
    EXPECT_NEAR(table.values[1 + 512 * 7], std::sin(x) / x * applied[1536 + 1024], 1e-12) << window;
  }
}

// The weight of a tap, looked up by itself.
double plain_weight(const sinc_table<double> &table, double position, std::int32_t tap) {
  const double steps = (position - tap) * 1024;
  const std::int32_t step = static_cast<std::int32_t>(std::floor(steps)) + table.centre_offset;
  const std::int32_t index = step % 1024 * table.taps + step / 1024;
  return table.deltas[index] * (steps - std::floor(steps)) + table.values[index];
}

TEST(SincDotProduct, ARowOfWeightsEqualsThemLookedUpOneByOne) {
  for (const std::int32_t taps : {1, 3, 15, 63, 255}) {
    const auto memory = make_sinc_table<double>(sinc_spec(1.0, taps));
    const auto &table = *reinterpret_cast<const sinc_table<double> *>(memory.get());
    const auto samples = random_samples<double>(3 * static_cast<std::size_t>(taps), 1);
    const std::int32_t half = taps / 2;
    for (const double position : {0.0, 0.25, 0.5, 1.0 / 3, 0.999}) {
      for (const std::int32_t stride : {1, 3, -1}) {
        const double *oldest = stride > 0 ? samples.data() : &samples.back();
        // A part of the taps is a part of the sum.
        for (const auto &[first, last] : {std::pair{-half, half}, std::pair{-half, 0}, std::pair{-half / 2, half}}) {
          double expected = 0;
          for (std::int32_t tap = first; tap <= last; ++tap) {
            expected += plain_weight(table, position, tap) * oldest[(tap - first) * stride];
          }
          EXPECT_NEAR(sinc_dot_productF64(oldest, stride, first, last, table, position), expected, 1e-12);
        }
      }
    }
  }
}

// So close below a whole position that the step rounds up to the next sample's: the row begins one entry later, and
// its last entry is the one behind the table's last row.
TEST(SincDotProduct, APositionThatRoundsUpToAWholeStaysInTheTable) {
  const double position = std::nextafter(1.0, 0.0);
  for (const std::int32_t taps : {1, 15, 255}) {
    const auto memory = make_sinc_table<double>(sinc_spec(1.0, taps));
    const auto &table = *reinterpret_cast<const sinc_table<double> *>(memory.get());
    const std::int32_t half = taps / 2;
    std::vector<double> samples(static_cast<std::size_t>(taps), 0.0);
    if (taps > 1) samples[static_cast<std::size_t>(half) + 1] = 1.0;  // where the output lies
    const double sum = sinc_dot_productF64(samples.data(), 1, -half, half, table, position);
    EXPECT_NEAR(sum, taps > 1 ? 1.0 : 0.0, 2e-3) << taps;
  }
}

TEST(SincResampler, ARatioOfOneDelaysByHalfTheTaps) {
  for (const std::int32_t size : {4, 8}) {
    Stage stage(sinc_spec(1.0, 15, 5.0), size);
    stage->reset(stage.state(), 1);
    const auto in = random_samples<float>(500, 2);
    const std::vector<double> wide(in.begin(), in.end());
    std::vector<float> out;
    std::vector<double> wide_out;
    for (std::size_t at = 0; at < in.size(); at += 5) {  // shorter than the half, too
      if (size == 4)
        stage.process<float>(std::span(in).subspan(at, 5), out);
      else
        stage.process<double>(std::span(wide).subspan(at, 5), wide_out);
      ASSERT_EQ(state_of(stage).fill, 14);
    }
    if (size == 8) out.assign(wide_out.begin(), wide_out.end());
    ASSERT_EQ(out.size(), 500u);
    for (std::size_t i = 0; i < out.size(); ++i) ASSERT_EQ(out[i], i < 7 ? 0.0f : in[i - 7]) << i;
  }
}

TEST(SincResampler, ThePositionCarriesOnThroughARatioOfOne) {
  Stage stage(sinc_spec(1.0, 63), 8);
  const auto in = random_samples<double>(400, 3);
  const std::span<const double> all(in);
  std::vector<double> out;
  stage.process(all.subspan(0, 100), out);
  sinc_resampler_set_drift_ratio(stage.state(), 1.001);
  stage.process(all.subspan(100, 100), out);
  const double position = state_of(stage).position;
  EXPECT_NE(position, 0.0);
  sinc_resampler_set_drift_ratio(stage.state(), 1.0);
  stage.process(all.subspan(200, 200), out);
  EXPECT_NEAR(state_of(stage).position, position, 1e-12) << "a whole step a sample leaves the fraction";
  EXPECT_EQ(state_of(stage).ratio, 1.0);
}

TEST(SincResampler, SeveralOutputsComeFromOneWindow) {
  Stage stage(sinc_spec(20.0, 15, 5.0), 8);
  std::vector<double> out;
  stage->reset(stage.state(), 1);
  EXPECT_EQ(stage.process<double>(std::vector<double>{1.0}, out), 20);
  EXPECT_EQ(stage.inputs(20), 1);
  EXPECT_EQ(stage.inputs(21), 2);
}

TEST(SincResampler, CountsAgreeWithWhatComesOut) {
  std::mt19937 random(5);
  for (int round = 0; round < 300; ++round) {
    const double ratio = std::exp(std::uniform_real_distribution<>(-3.0, 3.0)(random));
    const std::int32_t taps = 2 * random_between(random, 0, 31) + 1;
    Stage stage(sinc_spec(ratio, taps), 4);
    stage->reset(stage.state(), round % 2);
    for (int block = 0; block < 6; ++block) {
      const std::int32_t n = random_between(random, 1, 100);
      const std::int32_t promised = stage.outputs(n);
      ASSERT_LE(promised, stage.bound(n));
      const std::int32_t wanted = random_between(random, 1, 30);
      ASSERT_GE(stage.outputs(stage.inputs(wanted)), wanted);
      ASSERT_LT(stage.outputs(stage.inputs(wanted) - 1), wanted);
      std::vector<float> out;
      ASSERT_EQ(stage.process<float>(std::vector<float>(static_cast<std::size_t>(n), 1.0f), out), promised);
    }
  }
}

// Where 1 / ratio sums to just under a whole number, the position stays behind, and there is a sample more than the
// closed form tells, and at times more than the bound.
TEST(SincResampler, InexactRatiosGiveAtMostOneSampleMore) {
  int more = 0;
  for (const double ratio : {6.0, 7.0, 10.0, 13.0, 1.5, 49.0, 14.0, 20.0}) {
    std::mt19937 random(6);
    Stage stage(sinc_spec(ratio, 15, 5.0), 4);
    for (int block = 0; block < 400; ++block) {
      const std::int32_t n = random_between(random, 1, 60);
      const std::int32_t promised = stage.outputs(n);
      std::vector<float> out;
      const std::int32_t made = stage.process<float>(std::vector<float>(static_cast<std::size_t>(n), 1.0f), out);
      ASSERT_GE(made, promised) << ratio;
      ASSERT_LE(made, promised + 1) << ratio;
      ASSERT_LE(made, stage.bound(n) + 1) << ratio;
      more += made > promised;
    }
  }
  EXPECT_GT(more, 0);
}

TEST(SincResampler, AResetKeepsTheRatio) {
  Stage stage(sinc_spec(1.0, 15), 4);
  sinc_resampler_set_drift_ratio(stage.state(), 1.25);
  stage->reset(stage.state(), 0);
  EXPECT_EQ(state_of(stage).ratio, 1.25);
  EXPECT_EQ(state_of(stage).position, 0.0);
  EXPECT_EQ(state_of(stage).fill, 7);
}

TEST(SincResampler, EachThreadGetsAWorkOfItsOwn) {
  Stage stage(sinc_spec(0.9, 63), 4);
  void *work = stage->alloc_workbuffer(stage.state());
  ASSERT_TRUE(work);
  EXPECT_NE(work, stage->work);
  stage->free_workbuffer(work);
}

TEST(SincResampler, RefusesWhatHasNoPlaceInTheTable) {
  raesampler_stage stage = {};
  for (const stage_spec &spec : {sinc_spec(0.9, 14), sinc_spec(0.9, 0), sinc_spec(0.9, -1), sinc_spec(0.0, 15),
                                 sinc_spec(-1.0, 15), sinc_spec(1e9, 15), sinc_spec(NAN, 15), sinc_spec(1, 15, NAN)}) {
    EXPECT_EQ(create_sinc_resampler_stage(8, &stage, &spec, 1), -1);
    EXPECT_FALSE(stage.states);
  }
}
