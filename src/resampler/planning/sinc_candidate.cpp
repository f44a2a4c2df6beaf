#include <algorithm>
#include <cmath>
#include <limits>

#include "resampler/planning/candidates.h"
#include "resampler/planning/stage_design.h"

namespace auspool {
namespace {

std::int32_t truncated(double rate) {
  return static_cast<std::int32_t>(std::min<double>(rate, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

resampler_structure sinc_candidate(std::int32_t quality, double input_rate, double output_rate) {
  const double ratio = output_rate / input_rate;
  const double stop = std::min(ratio, 1 / ratio);
  const stage_spec filter = low_pass_stage(quality, 1, 1, pass_fraction(quality, ratio) * stop, stop);

  stage_spec sinc = filter;
  sinc.type = RAESAMPLER_STAGE_SINC;
  sinc.up = truncated(output_rate);
  sinc.down = truncated(input_rate);
  sinc.length = quality_parameters_map[quality].sinc_taps;
  sinc.ratio = ratio;
  sinc.cutoff = 1;

  // The filter runs at the lower rate, where it is cheapest and sets the band.
  const bool rises = output_rate > input_rate;
  resampler_structure structure = {};
  structure.count = 2;
  structure.stages[0] = rises ? sinc : filter;
  structure.stages[1] = rises ? filter : sinc;
  estimate(structure);
  optimize_structure(quality, &structure);
  return structure;
}

}  // namespace auspool
