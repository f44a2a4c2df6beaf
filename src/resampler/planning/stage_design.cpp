#include "resampler/planning/stage_design.h"

#include <auspool/filter_design.h>

#include <cmath>

namespace auspool {
namespace {

std::uint32_t kind(std::int32_t up, std::int32_t down) {
  if (up == down) return RAESAMPLER_STAGE_FILTER;
  if (up == 1) return RAESAMPLER_STAGE_DECIMATOR;
  if (down == 1) return RAESAMPLER_STAGE_INTERPOLATOR;
  return RAESAMPLER_STAGE_RATIONAL;
}

}  // namespace

stage_spec low_pass_stage(std::int32_t quality, std::int32_t up, std::int32_t down, double pass_edge,
                          double stop_edge) {
  const quality_parameters &q = quality_parameters_map[quality];
  stage_spec stage = {};
  stage.type = kind(up, down);
  stage.up = up;
  stage.down = down;
  stage.length = static_cast<std::int32_t>(
      kaiser_estimate(&stage.kaiser_beta, &stage.cutoff, pass_edge, stop_edge, q.pass_ripple, q.stop_ripple) | 1);
  stage.ratio = static_cast<double>(up) / down;
  stage.gain = up;
  stage.window = q.window;
  stage.pass_edge = pass_edge;
  stage.stop_edge = stop_edge;
  return stage;
}

double pass_fraction(std::int32_t quality, double ratio) {
  const double fraction = quality_parameters_map[quality].pass_fraction;
  if (ratio > 1.0 / 3.0) return fraction;
  return fraction * (-0.0581066 * std::exp(-16.14003 * ratio) + 1.000161);
}

void estimate(resampler_structure &structure) {
  structure.cost = estimate_structure_cost(&structure, &structure.memory);
}

}  // namespace auspool
