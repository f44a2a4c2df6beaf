#include "resampler/chain/chain.h"

#include <cmath>
#include <memory>

#include "resampler/chain/rounds.h"
#include "resampler/planning/find_structure.h"
#include "resampler/quality.h"

raesampler::~raesampler() {
  for (std::int32_t i = 0; i < stage_count; ++i) auspool::destroy_stage(stages[i], static_cast<std::int32_t>(channels));
}

namespace auspool {
namespace {

bool is_channel_count(std::int32_t channels) {
  return channels >= 1 && channels <= kMostChannels;
}

// The block of a low-latency stage whose input has this rate, in samples.
std::int32_t latency_block(const ChainPlan &plan, double rate) {
  return std::max(to_count(std::trunc(plan.latency_microseconds / 1e6 * rate)), 1);
}

// What one push may give beyond what was foreseen: the extra sample of each stage that may give one, on its way through
// the stages behind it.
std::int32_t surplus_of(const raesampler &chain) {
  std::int64_t surplus = 0;
  for (std::int32_t i = 0; i < chain.stage_count; ++i) {
    if (chain.stages[i].set_drift_ratio) surplus += chain_bound(chain, i + 1, chain.stage_count, 1);
  }
  return to_count(surplus);
}

bool reserve_block_buffers(raesampler &chain) {
  if (chain.sample_size != 8) return true;
  chain.block_input = try_block<double>(std::size_t{chain.channels} * kBlock);
  const std::int64_t output = chain_bound(chain, 0, chain.stage_count, kBlock);
  return chain.block_input && reserve_block_output(chain, to_count(output + chain.overflow_capacity));
}

// Room for all that running needs, so that only a larger burst than ever foreseen allocates.
bool reserve_buffers(raesampler &chain, double first_ratio) {
  constexpr std::int32_t kOverflowSpare = 4;
  const std::int64_t burst = chain_bound(chain, 0, chain.stage_count, 1);
  chain.surplus = surplus_of(chain);
  if (!reserve_overflow(chain, to_count(burst * kOverflowSpare))) return false;
  raesampler_set_drift_ratio(&chain, kMostDrift);  // the ratio may become this
  const bool reserved = reserve_scratch(chain) && reserve_block_buffers(chain);
  raesampler_set_drift_ratio(&chain, first_ratio);
  return reserved;
}

struct Request {
  std::int32_t flags;
  std::int32_t channels;
  std::int32_t latency_microseconds;

  std::int32_t quality() const { return flags & RAESAMPLER_QUALITY_MASK; }
  bool low_latency() const { return (flags & RAESAMPLER_FLAG_LOW_LATENCY) != 0; }
  // A latency of one microsecond, which no chain has, is another way to ask for drift correction.
  bool drift() const { return (flags & RAESAMPLER_FLAG_DRIFT) != 0 || (latency_microseconds == 1 && !low_latency()); }
  bool is_valid() const { return is_channel_count(channels) && is_quality(quality()); }
};

std::unique_ptr<raesampler> make_chain(const Request &request, const resampler_structure &structure,
                                       double input_rate) {
  auto chain = std::make_unique<raesampler>();
  chain->sample_size = sample_size_of(request.quality());
  chain->channels = static_cast<std::uint32_t>(request.channels);
  chain->drift_enabled = request.drift() ? 1 : 0;
  if (structure.count == 0) return chain;
  const ChainPlan plan = {request.flags, 1, request.low_latency(), request.latency_microseconds, input_rate};
  if (!build_stages(*chain, structure, plan) || !reserve_buffers(*chain, structure.stages[0].ratio)) return nullptr;
  return chain;
}

}  // namespace

bool is_rate_pair(double input_rate, double output_rate) {
  constexpr double kMostRatio = 256.0;
  return input_rate > 0 && output_rate > 0 && output_rate / input_rate <= kMostRatio &&
         input_rate / output_rate <= kMostRatio;
}

bool build_stages(raesampler &chain, const resampler_structure &structure, const ChainPlan &plan) {
  if (structure.count < 0 || structure.count > RAESAMPLER_MAX_STAGES) return false;
  double rate = plan.input_rate;
  for (std::int32_t i = 0; i < structure.count; ++i) {
    stage_spec spec = structure.stages[i];
    if (plan.flags & RAESAMPLER_FLAG_MINIMUM_PHASE) spec.minimum_phase = 1;
    const std::int32_t block = plan.low_latency ? latency_block(plan, rate) : 0;
    rate *= spec.ratio;
    raesampler_stage &stage = chain.stages[i];
    const auto sample_size = static_cast<std::int32_t>(chain.sample_size);
    const auto channels = static_cast<std::int32_t>(chain.channels);
    if (create_converter_stage(sample_size, &stage, &spec, channels, plan.threads, block) != 0) return false;
    if (!stage.states) return false;
    chain.windows[i] = stage_window(spec);
    chain.ends_complex = takes_complex(spec);
    chain.stage_count = i + 1;
  }
  return true;
}

std::int32_t chain_bound(const raesampler &chain, std::int32_t first, std::int32_t last, std::int32_t count) {
  for (std::int32_t i = first; i < last; ++i) count = stage_bound(chain.stages[i], count);
  return count;
}

std::int32_t run_chain_stage(const raesampler &chain, std::int32_t stage, std::size_t channel, const void *in,
                             std::int32_t in_stride, void *out, std::int32_t out_stride, std::int32_t count) {
  const StageRun how = {static_cast<std::int32_t>(chain.sample_size), chain.windows[stage], 1, channel,
                        chain.stages[stage].work};
  return run_stage(chain.stages[stage], how, in, in_stride, out, out_stride, count);
}

bool reserve_overflow(raesampler &chain, std::int32_t samples) {
  if (samples <= chain.overflow_capacity) return true;
  const std::size_t channel_bytes = static_cast<std::size_t>(samples) * chain.sample_size;
  auto larger = try_block<std::byte>(chain.channels * channel_bytes);
  if (!larger) return false;
  const std::size_t old_bytes = static_cast<std::size_t>(chain.overflow_capacity) * chain.sample_size;
  const std::size_t kept = static_cast<std::size_t>(chain.overflow_count) * chain.sample_size;
  for (std::size_t c = 0; c < chain.channels; ++c) {
    std::copy_n(chain.overflow.get() + c * old_bytes, kept, larger.get() + c * channel_bytes);
  }
  chain.overflow = std::move(larger);
  chain.overflow_capacity = samples;
  return true;
}

bool reserve_block_output(raesampler &chain, std::int32_t samples) {
  if (samples <= chain.block_output_capacity) return true;
  chain.block_output = try_block<double>(std::size_t{chain.channels} * static_cast<std::size_t>(samples));
  chain.block_output_capacity = chain.block_output ? samples : 0;
  return chain.block_output != nullptr;
}

}  // namespace auspool

using namespace auspool;

raesampler *raesampler_create(std::int32_t flags, std::int32_t channels, double *actual_ratio,
                              std::int32_t latency_microseconds, double input_rate, double output_rate,
                              double rate_tolerance) try {
  const Request request = {flags, channels, latency_microseconds};
  if (!request.is_valid() || !is_rate_pair(input_rate, output_rate)) return nullptr;
  resampler_structure structure = {};
  const bool sdm = (flags & RAESAMPLER_FLAG_SDM) != 0;
  const std::int32_t found = find_structure(request.quality(), actual_ratio, request.drift(), sdm, &structure,
                                            input_rate, output_rate, rate_tolerance);
  return found < 0 ? nullptr : make_chain(request, structure, input_rate).release();
} catch (...) {
  return nullptr;
}

raesampler *raesampler_create_from_structure(std::int32_t flags, std::int32_t channels,
                                             std::int32_t latency_microseconds, const resampler_structure *structure,
                                             double input_rate) try {
  const Request request = {flags, channels, latency_microseconds};
  if (!request.is_valid()) return nullptr;
  resampler_structure with_drift = *structure;
  if (request.drift() && add_drift_correction_stage(request.quality(), &with_drift) != 0) return nullptr;
  return make_chain(request, with_drift, input_rate).release();
} catch (...) {
  return nullptr;
}

void raesampler_destroy(raesampler *r) {
  delete r;
}

std::int32_t raesampler_set_drift_ratio(raesampler *r, double ratio) {
  if (!(ratio >= kLeastDrift && ratio <= kMostDrift)) return 0;
  if (!r->drift_enabled || r->stage_count == 0 || !r->stages[0].set_drift_ratio) return 1;
  for (std::uint32_t c = 0; c < r->channels; ++c) r->stages[0].set_drift_ratio(r->stages[0].states[c], ratio);
  return 1;
}
