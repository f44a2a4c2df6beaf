#include "resampler/stages/direct/polyphase_decimator.h"

#include "auspool/filter_design.h"
#include "platform/vector.h"
#include "resampler/stages/direct/window_line.h"
#include "resampler/stages/direct_filter.h"

namespace auspool {
namespace {

const polyphase_decimator &state_of(const void *state) {
  return *static_cast<const polyphase_decimator *>(state);
}

polyphase_decimator &state_of(void *state) {
  return *static_cast<polyphase_decimator *>(state);
}

}  // namespace

void polyphase_decimator_destroy(void *state) {
  delete static_cast<polyphase_decimator *>(state);
}

void polyphase_decimator_reset(void *state, std::int32_t preroll) {
  polyphase_decimator &s = state_of(state);
  s.fill = start_line(s.line.get(), s.sample_size, s.length, s.delay, preroll != 0);
}

std::int32_t polyphase_decimator_padding(const void *state) {
  return state_of(state).tail;
}

std::int32_t polyphase_decimator_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound) {
  const polyphase_decimator &s = state_of(state);
  // Windows begin at every `down`-th of the samples that have a whole window behind them.
  const std::int64_t begins = upper_bound ? input_count : std::int64_t{s.fill} - (s.length - 1) + input_count;
  return begins < 1 ? 0 : to_count((begins - 1) / s.down + 1);
}

std::int32_t polyphase_decimator_input_samples(const void *state, std::int32_t output_count) {
  const polyphase_decimator &s = state_of(state);
  return output_count < 1 ? 0 : to_count((std::int64_t{output_count} - 1) * s.down + s.length - s.fill);
}

template <typename Sample>
std::int32_t polyphase_decimator_process(void *state, const void *shared, void * /*work*/, const void *in,
                                         std::int32_t in_stride, void *out, std::int32_t out_stride, std::int32_t count,
                                         std::int32_t /*threads*/) {
  polyphase_decimator &s = state_of(state);
  WindowLine<Sample> block(s.fill, s.length, s.line.get(), in, in_stride, count);
  if (!block.begin()) return 0;
  const auto *filter = static_cast<const Sample *>(shared);
  auto *next_out = static_cast<Sample *>(out);
  std::int64_t written = 0;
  block.run([&](const Sample *samples, std::int64_t available) {
    const std::int64_t outputs = available < s.length ? 0 : (available - s.length) / s.down + 1;
    vector::dot_many<Sample>({.a = samples,
                              .a_hop = s.down,
                              .b = filter,
                              .b_hop = 0,
                              .count = static_cast<std::size_t>(s.length),
                              .out = next_out + written * out_stride,
                              .out_stride = out_stride,
                              .outputs = static_cast<std::size_t>(outputs)});
    written += outputs;
    return outputs * s.down;
  });
  return static_cast<std::int32_t>(written);
}

namespace {

constexpr raesampler_stage operations(std::int32_t sample_size) {
  raesampler_stage stage = {};
  stage.destroy = polyphase_decimator_destroy;
  stage.reset = polyphase_decimator_reset;
  stage.padding = polyphase_decimator_padding;
  stage.output_samples = polyphase_decimator_output_samples;
  stage.input_samples = polyphase_decimator_input_samples;
  stage.process = sample_size == 8 ? polyphase_decimator_process<double> : polyphase_decimator_process<float>;
  stage.free_shared = std::free;
  return stage;
}

std::unique_ptr<polyphase_decimator> make_state(std::int32_t sample_size, const stage_spec &spec, std::int32_t peak) {
  auto state = std::make_unique<polyphase_decimator>();
  state->length = spec.length;
  state->delay = std::min(direct_filter_delay(spec.length, spec.minimum_phase != 0, peak), spec.length - 1);
  state->tail = spec.length - state->delay;
  state->down = spec.down;
  state->sample_size = sample_size;
  state->line = make_line(sample_size, spec.length);
  polyphase_decimator_reset(state.get(), 0);
  return state;
}

}  // namespace
}  // namespace auspool

using namespace auspool;

std::int32_t create_polyphase_decimator_stage(std::int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                              std::int32_t channels) {
  return build_stage(is_filter(*spec) && spec->up == 1, sample_size, channels, [&] {
    StageInProgress built(operations(sample_size), channels);
    DirectFilter filter(sample_size, *spec, spec->length, spec->length, 1);
    built.share(std::move(filter.rows));
    built.add_states([&] { return make_state(sample_size, *spec, filter.peak); });
    built.hand_over(stage);
  });
}
