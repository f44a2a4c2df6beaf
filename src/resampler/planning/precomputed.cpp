// Looking up ready chains. Nothing here searches or allocates: it runs where a device's thread makes a converter.
#include <auspool/filter_design.h>
#include <auspool/raesampler_planning.h>

#include <span>

#include "resampler/planning/ratio.h"

namespace auspool {
namespace {

using Table = std::span<const precomputed_chain>;

constexpr Table kTables[5] = {RaesamplerQualityRealTimeChains, RaesamplerQualityNormalChains,
                              RaesamplerQualityHighChains, RaesamplerQualityVeryHighChains,
                              RaesamplerQualityUltraHighChains};

stage_spec unpacked(const precomputed_stage &ready) {
  stage_spec stage = {};
  stage.type = ready.type;
  stage.up = ready.up;
  stage.down = ready.down;
  stage.length = ready.length;
  stage.ratio = ready.ratio;
  stage.gain = ready.gain;
  stage.cutoff = (ready.pass_edge + ready.stop_edge) * 0.5;
  stage.window = AU_WINDOW_KAISER;
  stage.kaiser_beta = ready.kaiser_beta;
  stage.pass_edge = ready.pass_edge;
  stage.stop_edge = ready.stop_edge;
  return stage;
}

struct Found {
  const precomputed_structure *chain = nullptr;
  double ratio = 0;
};

Found look_up(std::int32_t quality, double input_rate, double output_rate, double rate_tolerance) {
  const double ratio = output_rate / input_rate;
  if (const auto exact = exact_ratio(input_rate, output_rate)) {
    if (const auto *chain = find_chain(quality, exact->up, exact->down)) return {chain, ratio};
  }
  if (!(rate_tolerance > 0)) return {};
  const auto near = approximate_ratio(ratio, rate_tolerance);
  if (!near || near->up == near->down) return {};
  return {find_chain(quality, near->up, near->down), static_cast<double>(near->up) / near->down};
}

}  // namespace
}  // namespace auspool

using namespace auspool;

const precomputed_structure *find_chain(std::int32_t quality, std::int32_t up, std::int32_t down) {
  if (quality < 0 || quality > 4) return nullptr;
  for (const precomputed_chain &row : kTables[quality]) {
    if (row.up > up || (row.up == up && row.down > down)) break;
    if (row.up == up && row.down == down) return &row.structure;
  }
  return nullptr;
}

std::int32_t get_precomputed_structure(std::int32_t quality, double *actual_ratio, resampler_structure *structure,
                                       double input_rate, double output_rate, double rate_tolerance) {
  const Found found = look_up(quality, input_rate, output_rate, rate_tolerance);
  if (!found.chain) return -1;
  if (actual_ratio) *actual_ratio = found.ratio;
  structure->count = found.chain->count;
  for (std::int32_t i = 0; i < structure->count; ++i) structure->stages[i] = unpacked(found.chain->stages[i]);
  return structure->count;
}
