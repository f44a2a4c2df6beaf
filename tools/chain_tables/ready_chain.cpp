#include "chain_tables/ready_chain.h"

#include <algorithm>
#include <sstream>

#include "resampler/planning/candidates.h"
#include "resampler/planning/generate.h"

namespace auspool {
namespace {

constexpr char kCommonRatios[] =
    "1/2 1/3 1/4 1/6 1/8 1/12 1/16 1/24 1/32 2/1 2/3 3/1 3/2 3/4 3/8 4/1 4/3 5/147 6/1 8/1 8/3 10/147 12/1 16/1 20/147 "
    "20/441 24/1 32/1 40/147 40/441 80/147 80/441 147/5 147/10 147/20 147/40 147/80 147/160 147/320 147/640 147/1280 "
    "147/2560 160/147 160/441 320/147 320/441 441/20 441/40 441/80 441/160 441/320 441/640 441/1280 640/147 640/441 "
    "1280/147 1280/441 2560/147";

// Live use meets the extremes of both families too.
constexpr char kRealTimeRatios[] =
    " 1/48 1/64 1/96 5/294 5/441 10/441 48/1 64/1 96/1 147/5120 147/10240 294/5 441/5 441/10 5120/147 10240/147";

// What a row of a table has room for.
constexpr std::int32_t kMaxStages = 3;

// Two ratios where the cheapest plan has a second stage whose step is longer than its filter: it would skip samples.
// A smaller or larger first factor avoids that.
struct Exception {
  std::int32_t quality;
  Fraction ratio;
  Fraction first;
};
constexpr Exception kExceptions[] = {{RaesamplerQualityNormal, {147, 80}, {3, 1}},
                                     {RaesamplerQualityNormal, {147, 10}, {21, 1}}};

precomputed_stage packed(const stage_spec &stage) {
  return {stage.type,      stage.up,        stage.down,        stage.gain,  stage.ratio,
          stage.pass_edge, stage.stop_edge, stage.kaiser_beta, stage.length};
}

resampler_structure planned(std::int32_t quality, Fraction ratio) {
  for (const auto &[exception_quality, exception_ratio, first] : kExceptions) {
    if (quality == exception_quality && ratio.up == exception_ratio.up && ratio.down == exception_ratio.down) {
      return mixed_candidate(quality, ratio, first);
    }
  }
  return cheapest_structure(quality, ratio.down, ratio.up, kMaxStages);
}

}  // namespace

std::vector<Fraction> ready_ratios(std::int32_t quality) {
  std::istringstream keys(std::string(kCommonRatios) + (quality == RaesamplerQualityRealTime ? kRealTimeRatios : ""));
  std::vector<Fraction> ratios;
  char slash = 0;
  for (Fraction ratio = {}; keys >> ratio.up >> slash >> ratio.down;) ratios.push_back(ratio);
  std::sort(ratios.begin(), ratios.end(),
            [](Fraction a, Fraction b) { return a.up != b.up ? a.up < b.up : a.down < b.down; });
  return ratios;
}

precomputed_structure ready_chain(std::int32_t quality, Fraction ratio) {
  const resampler_structure structure = planned(quality, ratio);
  precomputed_structure ready = {};
  ready.count = structure.count;
  std::transform(structure.stages, structure.stages + structure.count, ready.stages, packed);
  return ready;
}

}  // namespace auspool
