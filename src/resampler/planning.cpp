#include "resampler/planning.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "resampler/quality.h"

namespace auspool {
namespace {

stage_spec expand(const precomputed_stage &stage) {
  constexpr std::uint32_t kKaiser = 2;
  stage_spec spec = {};
  spec.type = stage.type;
  spec.up = stage.up;
  spec.down = stage.down;
  spec.length = stage.length;
  spec.ratio = stage.ratio;
  spec.gain = stage.gain;
  spec.cutoff = (stage.pass_edge + stage.stop_edge) * 0.5;
  spec.window = kKaiser;
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

// No chain is kept ready yet.
std::int32_t get_precomputed_structure(std::int32_t /*quality*/, double * /*actual_ratio*/,
                                       resampler_structure * /*structure*/, double /*input_rate*/,
                                       double /*output_rate*/, double /*rate_tolerance*/) {
  return -1;
}

// Equal rates need no search; other rates are not planned yet.
std::int32_t generate_resampler_structure(std::int32_t quality, double *actual_ratio, std::uint32_t drift,
                                          std::uint32_t /*sdm*/, resampler_structure *structure, double input_rate,
                                          double output_rate, double /*rate_tolerance*/) {
  if (input_rate != output_rate) return -1;
  if (actual_ratio) *actual_ratio = 1.0;
  if (!drift) return 0;
  structure->count = 0;
  return add_drift_correction_stage(quality, structure) == 0 ? structure->count : -1;
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
