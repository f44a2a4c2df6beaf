#include <auspool/raesampler_planning.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <span>
#include <tuple>
#include <utility>

#include "chain_tables/ready_chain.h"
#include "support/watch.h"

namespace auspool {
namespace {

std::span<const precomputed_chain> table(std::int32_t quality) {
  switch (quality) {
  case 0:
    return RaesamplerQualityRealTimeChains;
  case 1:
    return RaesamplerQualityNormalChains;
  case 2:
    return RaesamplerQualityHighChains;
  case 3:
    return RaesamplerQualityVeryHighChains;
  default:
    return RaesamplerQualityUltraHighChains;
  }
}

struct Stage {
  std::uint32_t type;
  std::int32_t up, down;
  double pass, stop;
  std::int32_t length;
};

void expect_stages(const precomputed_structure *chain, std::initializer_list<Stage> stages, const char *name) {
  ASSERT_NE(chain, nullptr) << name;
  ASSERT_EQ(static_cast<std::size_t>(chain->count), stages.size()) << name;
  const precomputed_stage *got = chain->stages;
  for (const Stage &want : stages) {
    EXPECT_EQ(got->type, want.type) << name;
    EXPECT_EQ(got->up, want.up) << name;
    EXPECT_EQ(got->down, want.down) << name;
    EXPECT_NEAR(got->pass_edge, want.pass, 5e-7) << name;
    EXPECT_NEAR(got->stop_edge, want.stop, 5e-7) << name;
    EXPECT_EQ(got->length, want.length) << name;
    ++got;
  }
}

bool is_same(const precomputed_structure &a, const precomputed_structure &b) {
  const auto fields = [](const precomputed_stage &s) {
    return std::tuple(s.type, s.up, s.down, s.gain, s.ratio, s.pass_edge, s.stop_edge, s.kaiser_beta, s.length);
  };
  return std::equal(a.stages, a.stages + a.count, b.stages, b.stages + b.count,
                    [&](const auto &x, const auto &y) { return fields(x) == fields(y); });
}

TEST(ReadyChains, HaveTheKnownStages) {
  expect_stages(find_chain(0, 1, 2), {{0, 1, 2, 0.425, 0.5, 99}}, "RealTime 1/2");
  expect_stages(find_chain(0, 2, 1), {{3, 2, 1, 0.425, 0.5, 99}}, "RealTime 2/1");
  expect_stages(find_chain(0, 147, 160), {{2, 147, 160, 0.0053125, 0.00625, 7737}}, "RealTime 147/160");
  expect_stages(find_chain(0, 160, 147), {{2, 160, 147, 0.0053125, 0.00625, 7737}}, "RealTime 160/147");
  expect_stages(find_chain(0, 64, 1),
                {{3, 2, 1, 0.425, 0.5, 99}, {3, 2, 1, 0.2125, 0.7425, 17}, {3, 16, 1, 0.013281, 0.108281, 79}},
                "RealTime 64/1");
  expect_stages(find_chain(1, 1, 2), {{5, 1, 2, 0.4625, 0.5, 345}}, "Normal 1/2");
  expect_stages(find_chain(1, 147, 160), {{7, 3, 1, 0.283281, 0.30625, 561}, {2, 49, 160, 0.005781, 0.034685, 447}},
                "Normal 147/160");
  expect_stages(find_chain(1, 3, 8), {{6, 1, 1, 0.346875, 0.375, 459}, {2, 3, 8, 0.115625, 0.545531, 33}},
                "Normal 3/8");
  expect_stages(find_chain(1, 2, 3), {{7, 2, 1, 0.308333, 0.333333, 515}, {2, 1, 3, 0.308333, 1.67475, 13}},
                "Normal 2/3");
  expect_stages(find_chain(2, 147, 160), {{7, 3, 1, 0.300125, 0.30625, 3461}, {2, 49, 160, 0.006125, 0.034344, 753}},
                "High 147/160");
  expect_stages(find_chain(4, 160, 147), {{7, 4, 1, 0.24875, 0.25, 21405}, {2, 40, 147, 0.006219, 0.043343, 723}},
                "UltraHigh 160/147");
}

TEST(ReadyChains, DoNotSkipSamplesBetweenTheirStages) {
  expect_stages(find_chain(1, 147, 80), {{7, 3, 1, 0.308333, 0.333333, 515}, {2, 49, 80, 0.006293, 0.034179, 463}},
                "Normal 147/80");
  expect_stages(find_chain(1, 147, 10), {{7, 21, 1, 0.044048, 0.047619, 3593}, {2, 7, 10, 0.006293, 0.276628, 51}},
                "Normal 147/10");
}

TEST(ReadyChains, AreWhatTheirGeneratorGives) {
  for (std::int32_t quality = 0; quality < 5; ++quality) {
    const auto rows = table(quality);
    const std::vector<Fraction> ratios = ready_ratios(quality);
    ASSERT_EQ(rows.size(), ratios.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
      EXPECT_EQ(rows[i].up, ratios[i].up);
      EXPECT_EQ(rows[i].down, ratios[i].down);
      const precomputed_structure made = ready_chain(quality, ratios[i]);
      EXPECT_TRUE(is_same(rows[i].structure, made))
          << "quality " << quality << ", " << rows[i].up << "/" << rows[i].down;
    }
  }
}

TEST(ReadyChains, CarryGainRatioAndTheQualitysBeta) {
  const double betas[5] = {5.6533, 10.0613, 16.6733, 18.8773, 21.0813};
  for (std::int32_t quality = 0; quality < 5; ++quality) {
    for (const precomputed_chain &row : table(quality)) {
      double ratio = 1;
      for (std::int32_t i = 0; i < row.structure.count; ++i) {
        const precomputed_stage &stage = row.structure.stages[i];
        EXPECT_EQ(stage.gain, stage.up);
        EXPECT_EQ(stage.ratio, static_cast<double>(stage.up) / stage.down);
        EXPECT_NEAR(stage.kaiser_beta, betas[quality], 5e-5);
        EXPECT_EQ(stage.length % 2, 1);
        EXPECT_TRUE(quality > 0 || stage.type < 4) << "no block latency in live use";
        ratio *= stage.ratio;
      }
      EXPECT_NEAR(ratio, static_cast<double>(row.up) / row.down, ratio * 1e-12);
    }
  }
}

TEST(ReadyChains, AscendAndAreFoundByTheirKeys) {
  for (std::int32_t quality = 0; quality < 5; ++quality) {
    const auto rows = table(quality);
    for (std::size_t i = 0; i < rows.size(); ++i) {
      EXPECT_EQ(find_chain(quality, rows[i].up, rows[i].down), &rows[i].structure);
      if (i == 0) continue;
      EXPECT_LT(std::pair(rows[i - 1].up, rows[i - 1].down), std::pair(rows[i].up, rows[i].down));
    }
  }
}

TEST(ReadyChains, GiveNullForAnythingElse) {
  EXPECT_EQ(find_chain(-1, 1, 2), nullptr);
  EXPECT_EQ(find_chain(5, 1, 2), nullptr);
  EXPECT_EQ(find_chain(0, 1, 1), nullptr);
  EXPECT_EQ(find_chain(0, 1, 5), nullptr);
  EXPECT_EQ(find_chain(0, 20000, 1), nullptr);
  EXPECT_EQ(find_chain(1, 96, 1), nullptr);  // only live use has it
}

TEST(LookUp, UnpacksTheStagesOfWholeRates) {
  resampler_structure structure = {};
  structure.cost = -7;
  double ratio = 0;
  ASSERT_EQ(get_precomputed_structure(0, &ratio, &structure, 48000, 44100, 0), 1);
  EXPECT_EQ(ratio, 44100.0 / 48000.0);
  EXPECT_EQ(structure.count, 1);
  EXPECT_EQ(structure.cost, -7);
  const stage_spec &stage = structure.stages[0];
  EXPECT_EQ(stage.type, 2u);
  EXPECT_EQ(stage.up, 147);
  EXPECT_EQ(stage.down, 160);
  EXPECT_EQ(stage.length, 7737);
  EXPECT_EQ(stage.cutoff, (stage.pass_edge + stage.stop_edge) * 0.5);
  EXPECT_EQ(stage.window, 2u);
  EXPECT_EQ(stage.minimum_phase, 0u);
}

TEST(LookUp, FindsTheMirroredPair) {
  resampler_structure structure = {};
  ASSERT_EQ(get_precomputed_structure(0, nullptr, &structure, 44100, 48000, 0), 1);
  EXPECT_EQ(structure.stages[0].up, 160);
  EXPECT_EQ(structure.stages[0].down, 147);
}

TEST(LookUp, RoundsToAListedRatioOnlyWithATolerance) {
  resampler_structure structure = {};
  double ratio = -1;
  EXPECT_EQ(get_precomputed_structure(2, &ratio, &structure, 48000.5, 96000.9, 0), -1);
  EXPECT_EQ(ratio, -1);
  EXPECT_EQ(get_precomputed_structure(2, &ratio, &structure, 48000.5, 96000.9, 1e-3), 1);
  EXPECT_EQ(ratio, 2);
}

TEST(LookUp, HasNothingForRatesThatAreEqualOrNearlySo) {
  resampler_structure structure = {};
  EXPECT_EQ(get_precomputed_structure(0, nullptr, &structure, 48000, 48000, 0), -1);
  EXPECT_EQ(get_precomputed_structure(0, nullptr, &structure, 48000, 48000.1, 1e-3), -1);
  EXPECT_EQ(get_precomputed_structure(7, nullptr, &structure, 48000, 44100, 0), -1);
}

TEST(LookUp, EndsForAnyRatesAndTolerance) {
  const double rates[] = {44100, 44100.1, 1e-300, 1e300, HUGE_VAL, std::nan(""), 0, -1, 1.0 / 3};
  resampler_structure structure = {};
  for (const double in : rates) {
    for (const double out : rates) {
      for (const double tolerance : {0.0, 1e-30, 1e-12, 0.5, HUGE_VAL, std::nan("")}) {
        get_precomputed_structure(1, nullptr, &structure, in, out, tolerance);
      }
    }
  }
}

TEST(LookUp, IsFitForTheRealTimeThread) {
  resampler_structure structure = {};
  const auto look_up = [&] {
    const testing::RealtimeGuard guard;
    get_precomputed_structure(0, nullptr, &structure, 44100, 48000, 1e-6);
    get_precomputed_structure(0, nullptr, &structure, 44100.1, 48000, 1e-6);
  };
  look_up();
  testing::run_without_system_calls(look_up);
}

}  // namespace
}  // namespace auspool
