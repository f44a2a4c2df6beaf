// The cost model that chains are compared by.
#include <auspool/filter_design.h>
#include <auspool/raesampler_planning.h>

#include <cstdint>
#include <limits>

namespace auspool {
namespace {

struct Price {
  double cost;
  double memory;
};

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Overlap-save with two real transforms of F points. The model prices the whole prototype, not the taps of a branch.
Price price_of_fft(std::int32_t length) {
  std::uint32_t log2 = 0;
  const std::int64_t size = fft_size_for_filter_length(length, &log2, 0);
  if (size == 0) return {kInfinity, kInfinity};
  const std::int64_t half = size / 2;
  const std::int64_t transform = 6 * (log2 - 1) * half;
  const auto work = static_cast<double>(transform + (transform + 4 * half));
  return {work / static_cast<double>(size - length + 1), 4.0 * static_cast<double>(size)};
}

Price price_of(const stage_spec &stage) {
  if (stage.length < 1) return {kInfinity, kInfinity};
  const double length = stage.length;
  switch (stage.type) {
  case RAESAMPLER_STAGE_FFT_DECIMATOR:
  case RAESAMPLER_STAGE_FFT_FILTER:
  case RAESAMPLER_STAGE_FFT_INTERPOLATOR:
    return price_of_fft(stage.length);
  case RAESAMPLER_STAGE_SINC:
    return {50.0 * length * stage.ratio, 3.0 * length};
  default:
    return {length / stage.down, length};
  }
}

// The fast-convolution kind of a direct one; the kind itself where there is none.
std::uint32_t fft_kind(std::uint32_t type) {
  switch (type) {
  case RAESAMPLER_STAGE_DECIMATOR:
    return RAESAMPLER_STAGE_FFT_DECIMATOR;
  case RAESAMPLER_STAGE_FILTER:
    return RAESAMPLER_STAGE_FFT_FILTER;
  case RAESAMPLER_STAGE_INTERPOLATOR:
    return RAESAMPLER_STAGE_FFT_INTERPOLATOR;
  default:
    return type;
  }
}

}  // namespace
}  // namespace auspool

double estimate_stage_cost(const stage_spec *stage, double *memory) {
  const auspool::Price price = auspool::price_of(*stage);
  if (memory) *memory = price.memory;
  return price.cost;
}

double estimate_structure_cost(const resampler_structure *structure, double *memory) {
  double cost = 0, samples = 0, scale = 1;
  for (std::int32_t i = 0; i < structure->count; ++i) {
    const auspool::Price price = auspool::price_of(structure->stages[i]);
    cost += scale * price.cost;
    samples += price.memory;
    scale *= structure->stages[i].ratio;
  }
  if (memory) *memory = samples;
  return cost;
}

double optimize_structure(std::int32_t quality, resampler_structure *structure) {
  if (quality == RaesamplerQualityRealTime) return structure->cost;
  resampler_structure fast = *structure;
  for (std::int32_t i = 0; i < fast.count; ++i) {
    stage_spec changed = fast.stages[i];
    changed.type = auspool::fft_kind(changed.type);
    if (auspool::price_of(changed).cost < auspool::price_of(fast.stages[i]).cost) fast.stages[i] = changed;
  }
  fast.cost = estimate_structure_cost(&fast, &fast.memory);
  if (fast.cost < structure->cost) *structure = fast;
  return structure->cost;
}
