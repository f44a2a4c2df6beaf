#include "resampler/planning/generate.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

#include "resampler/planning/candidates.h"
#include "resampler/quality.h"

namespace auspool {
namespace {

constexpr double kMaxMemory = 67108864.0;  // samples

bool is_rate(double rate) {
  return rate > 0 && std::isfinite(rate);
}

void keep_cheaper(resampler_structure &best, const resampler_structure &candidate) {
  const bool usable = std::isfinite(candidate.cost) && candidate.count > 0 && candidate.memory < kMaxMemory;
  if (usable && candidate.cost < best.cost) best = candidate;
}

// The single stage, or a row of factors that costs less; of equal costs the first. Without memory for the rows the
// single stage stands.
resampler_structure cheapest_by_factors(std::int32_t quality, Fraction ratio, std::int32_t max_stages) {
  resampler_structure best = single_stage_candidate(quality, ratio);
  try {
    for (const resampler_structure &candidate : factored_candidates(quality, ratio)) {
      if (candidate.count <= max_stages && candidate.cost < best.cost) best = candidate;
    }
  } catch (const std::bad_alloc &) {
  }
  return best;
}

std::int32_t plan(std::int32_t quality, bool drift, bool sdm, resampler_structure &structure, double input_rate,
                  double output_rate) {
  structure = {};
  if (sdm) {
    if (generate_sdm_resampler_structure(&structure, input_rate, output_rate) < 1) return -1;
  } else if (input_rate != output_rate) {
    structure = cheapest_structure(quality, input_rate, output_rate, RAESAMPLER_MAX_STAGES);
  }
  if (drift) add_drift_correction_stage(quality, &structure);
  return structure.count;
}

}  // namespace

resampler_structure cheapest_structure(std::int32_t quality, double input_rate, double output_rate,
                                       std::int32_t max_stages) {
  resampler_structure best = sinc_candidate(quality, input_rate, output_rate);
  const std::optional<Fraction> ratio = exact_ratio(input_rate, output_rate);
  if (!ratio) return best;
  keep_cheaper(best, cheapest_by_factors(quality, *ratio, max_stages));
  if (const std::optional<Fraction> first = mixed_first_stage(*ratio)) {
    keep_cheaper(best, mixed_candidate(quality, *ratio, *first));
  }
  return best;
}

}  // namespace auspool

using namespace auspool;

std::int32_t generate_resampler_structure2(std::int32_t quality, std::uint32_t drift, std::uint32_t sdm,
                                           resampler_structure *structure, double input_rate, double output_rate) {
  if (!is_quality(quality) || !is_rate(input_rate) || !is_rate(output_rate)) return -1;
  return plan(quality, drift != 0, sdm != 0, *structure, input_rate, output_rate);
}

std::int32_t generate_resampler_structure(std::int32_t quality, double *actual_ratio, std::uint32_t drift,
                                          std::uint32_t sdm, resampler_structure *structure, double input_rate,
                                          double output_rate, double rate_tolerance) {
  double in = input_rate, out = output_rate;
  if (rate_tolerance > 0) {
    if (const auto near = approximate_ratio(output_rate / input_rate, rate_tolerance)) {
      in = near->down;
      out = near->up;
    }
  }
  const auto tell_ratio = [&] {
    if (actual_ratio) *actual_ratio = out / in;
  };
  if (!drift && in == out) {
    tell_ratio();
    return 0;
  }
  std::int32_t count = generate_resampler_structure2(quality, drift, sdm, structure, input_rate, output_rate);
  if (in != input_rate || out != output_rate) {
    resampler_structure rounded;
    const std::int32_t rounded_count = generate_resampler_structure2(quality, drift, sdm, &rounded, in, out);
    if (rounded_count > 0 && (count < 1 || structure->cost > rounded.cost)) {
      *structure = rounded;
      count = rounded_count;
    } else {
      in = input_rate;
      out = output_rate;
    }
  }
  tell_ratio();
  return count;
}
