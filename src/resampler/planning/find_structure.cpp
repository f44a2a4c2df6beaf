#include "resampler/planning/find_structure.h"

#include <algorithm>
#include <iterator>

#include "auspool/filter_design.h"

namespace auspool {
namespace {

stage_spec expand(const precomputed_stage &stage) {
  stage_spec spec = {};
  spec.type = stage.type;
  spec.up = stage.up;
  spec.down = stage.down;
  spec.length = stage.length;
  spec.ratio = stage.ratio;
  spec.gain = stage.gain;
  spec.cutoff = (stage.pass_edge + stage.stop_edge) * 0.5;
  spec.window = AU_WINDOW_KAISER;
  spec.kaiser_beta = stage.kaiser_beta;
  spec.pass_edge = stage.pass_edge;
  spec.stop_edge = stage.stop_edge;
  return spec;
}

}  // namespace

std::int32_t expand_precomputed(const precomputed_structure &chain, resampler_structure *structure) {
  if (chain.count < 1 || chain.count > static_cast<std::int32_t>(std::size(chain.stages))) return -1;
  structure->count = chain.count;
  std::transform(chain.stages, chain.stages + chain.count, structure->stages, expand);
  return chain.count;
}

std::int32_t find_structure(std::int32_t quality, double *actual_ratio, bool drift, bool sdm,
                            resampler_structure *structure, double input_rate, double output_rate,
                            double rate_tolerance) {
  const std::int32_t ready =
      get_precomputed_structure(quality, actual_ratio, structure, input_rate, output_rate, rate_tolerance);
  if (ready > 0) {
    if (drift && add_drift_correction_stage(quality, structure) != 0) return -1;
    return structure->count;
  }
  return generate_resampler_structure(quality, actual_ratio, drift, sdm, structure, input_rate, output_rate,
                                      rate_tolerance);
}

}  // namespace auspool
