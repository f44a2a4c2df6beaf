// The counts of a chain, and its ways back to a start. Channels advance in step: counts ask the first.
#include "resampler/chain/chain.h"

namespace {

void reset_all(raesampler &chain, std::int32_t preroll) {
  for (std::int32_t i = 0; i < chain.stage_count; ++i) {
    const raesampler_stage &stage = chain.stages[i];
    for (std::uint32_t c = 0; c < chain.channels; ++c) stage.reset(stage.states[c], preroll);
  }
  chain.overflow_count = 0;
}

}  // namespace

void raesampler_reset(raesampler *r) {
  reset_all(*r, 0);
}

void raesampler_preroll(raesampler *r) {
  reset_all(*r, 1);
}

std::int32_t raesampler_padding(const raesampler *r) {
  if (r->stage_count == 0) return 0;
  std::int64_t padding = 0;
  for (std::int32_t i = r->stage_count - 1; i >= 0; --i) {
    const raesampler_stage &stage = r->stages[i];
    const bool is_last = i == r->stage_count - 1;
    padding = stage.padding(stage.states[0]) +
              (is_last ? 0 : std::int64_t{stage.input_samples(stage.states[0], auspool::to_count(padding))});
  }
  return auspool::to_count(padding);
}

std::int32_t raesampler_output_samples(const raesampler *r, std::int32_t input_count) {
  std::int32_t count = std::max(input_count, 0);
  for (std::int32_t i = 0; i < r->stage_count; ++i) {
    count = r->stages[i].output_samples(r->stages[i].states[0], count, 0);
  }
  return auspool::to_count(std::int64_t{count} + r->overflow_count);
}

std::int32_t raesampler_input_samples(const raesampler *r, std::int32_t output_count) {
  if (output_count <= r->overflow_count) return 0;
  std::int32_t count = output_count - r->overflow_count;
  for (std::int32_t i = r->stage_count - 1; i >= 0; --i) {
    count = r->stages[i].input_samples(r->stages[i].states[0], count);
  }
  return count;
}
