#include <algorithm>
#include <cmath>

#include "auspool/raesampler_planning.h"
#include "resampler/quality.h"

using namespace auspool;

std::int32_t add_drift_correction_stage(std::int32_t quality, resampler_structure *structure) {
  constexpr std::int32_t kRealTimeTaps = 15;
  constexpr double kRealTimeBeta = 5.0;
  if (!is_quality(quality) || structure->count < 0 || structure->count >= RAESAMPLER_MAX_STAGES) return -1;
  const quality_parameters &parameters = quality_parameters_map[quality];
  const bool real_time = quality == RaesamplerQualityRealTime;

  stage_spec spec = {};
  spec.type = RAESAMPLER_STAGE_SINC;
  spec.up = 1;
  spec.down = 1;
  spec.length = real_time ? kRealTimeTaps : parameters.sinc_taps;
  spec.ratio = 1.0;
  spec.gain = 1.0;
  spec.cutoff = 1.0;
  spec.window = parameters.window;
  spec.kaiser_beta = real_time ? kRealTimeBeta : 0.1102 * (std::abs(20 * std::log10(parameters.pass_ripple)) - 8.7);
  spec.pass_edge = 1.0;
  spec.stop_edge = 1.0;

  std::copy_backward(structure->stages, structure->stages + structure->count, structure->stages + structure->count + 1);
  structure->stages[0] = spec;
  ++structure->count;
  return 0;
}
