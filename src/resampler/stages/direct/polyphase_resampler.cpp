#include "resampler/stages/direct/polyphase_resampler.h"

#include "auspool/filter_design.h"
#include "platform/vector.h"
#include "resampler/stages/direct/window_line.h"
#include "resampler/stages/direct_filter.h"

namespace auspool {
namespace {

const polyphase_resampler &state_of(const void *state) {
  return *static_cast<const polyphase_resampler *>(state);
}

polyphase_resampler &state_of(void *state) {
  return *static_cast<polyphase_resampler *>(state);
}

bool copies(const polyphase_resampler &s) {
  return s.up == s.down;
}

// Output j has the phase (phase + j * down) % up, and its window begins (phase + j * down) / up samples after that of
// output 0. So many outputs have windows that begin within `begins` samples.
std::int64_t outputs_within(const polyphase_resampler &s, std::int64_t begins) {
  return begins < 1 ? 0 : (begins * s.up - s.phase - 1) / s.down + 1;
}

// Runs the filter over windows and moves the phase on.
template <typename Sample>
class Branches {
public:
  Branches(polyphase_resampler &state, const void *filter, void *out, std::int32_t out_stride)
      : state_(state),
        filter_(static_cast<const Sample *>(filter)),
        out_(static_cast<Sample *>(out)),
        out_stride_(out_stride) {}

  // As WindowLine::run wants it.
  std::int64_t operator()(const Sample *samples, std::int64_t available) {
    const std::int64_t outputs = outputs_within(state_, available - state_.taps + 1);
    vector::dot_polyphase<Sample>({.window = samples,
                                   .rows = filter_,
                                   .count = static_cast<std::size_t>(state_.taps),
                                   .up = static_cast<std::size_t>(state_.up),
                                   .down = static_cast<std::size_t>(state_.down),
                                   .phase = static_cast<std::size_t>(state_.phase),
                                   .out = out_ + written_ * out_stride_,
                                   .out_stride = out_stride_,
                                   .outputs = static_cast<std::size_t>(outputs)});
    written_ += outputs;
    const std::int64_t reached = state_.phase + outputs * state_.down;
    state_.phase = static_cast<std::int32_t>(reached % state_.up);
    return reached / state_.up;
  }

  std::int32_t written() const { return static_cast<std::int32_t>(written_); }

private:
  polyphase_resampler &state_;
  const Sample *const filter_;
  Sample *const out_;
  const std::ptrdiff_t out_stride_;
  std::int64_t written_ = 0;
};

}  // namespace

void polyphase_resampler_destroy(void *state) {
  delete static_cast<polyphase_resampler *>(state);
}

void polyphase_resampler_reset(void *state, std::int32_t preroll) {
  polyphase_resampler &s = state_of(state);
  if (copies(s)) return;
  s.phase = 0;
  s.fill = start_line(s.line.get(), s.sample_size, s.taps, s.delay, preroll != 0);
}

std::int32_t polyphase_resampler_padding(const void *state) {
  return state_of(state).tail;
}

std::int32_t polyphase_resampler_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound) {
  const polyphase_resampler &s = state_of(state);
  if (upper_bound) return input_count < 1 ? 0 : to_count((std::int64_t{input_count} * s.up - 1) / s.down + 1);
  if (copies(s)) return input_count;
  return to_count(outputs_within(s, std::int64_t{s.fill} - (s.taps - 1) + input_count));
}

std::int32_t polyphase_resampler_input_samples(const void *state, std::int32_t output_count) {
  const polyphase_resampler &s = state_of(state);
  if (copies(s) || output_count < 1) return std::max(output_count, 0);
  const std::int64_t moved = (std::int64_t{output_count} - 1) * s.down + s.phase;
  return to_count(moved / s.up + s.taps - s.fill);
}

template <typename Sample>
std::int32_t polyphase_resampler_process(void *state, const void *shared, void * /*work*/, const void *in,
                                         std::int32_t in_stride, void *out, std::int32_t out_stride, std::int32_t count,
                                         std::int32_t /*threads*/) {
  polyphase_resampler &s = state_of(state);
  if (copies(s)) {
    copy_samples(s.sample_size, in, in_stride, out, out_stride, count);
    return count;
  }
  WindowLine<Sample> block(s.fill, s.taps, s.line.get(), in, in_stride, count);
  if (!block.begin()) return 0;
  Branches<Sample> branches(s, shared, out, out_stride);
  block.run(std::ref(branches));
  return branches.written();
}

namespace {

constexpr raesampler_stage operations(std::int32_t sample_size) {
  raesampler_stage stage = {};
  stage.destroy = polyphase_resampler_destroy;
  stage.reset = polyphase_resampler_reset;
  stage.padding = polyphase_resampler_padding;
  stage.output_samples = polyphase_resampler_output_samples;
  stage.input_samples = polyphase_resampler_input_samples;
  stage.process = sample_size == 8 ? polyphase_resampler_process<double> : polyphase_resampler_process<float>;
  stage.free_shared = std::free;
  return stage;
}

// The prototype is filled up to whole rows, less a tap where that makes its length odd.
std::int32_t prototype_length(const stage_spec &spec, std::int32_t taps) {
  return (taps * spec.up - 1) | 1;
}

std::unique_ptr<polyphase_resampler> make_state(std::int32_t sample_size, const stage_spec &spec, std::int32_t taps,
                                                std::int32_t peak) {
  auto state = std::make_unique<polyphase_resampler>();
  state->taps = taps;
  state->delay =
      std::min(direct_filter_delay(taps, spec.minimum_phase != 0, peak / spec.up), (taps * spec.up - 1) & ~1);
  state->up = spec.up;
  state->down = spec.down;
  state->sample_size = sample_size;
  if (copies(*state)) return state;
  state->tail = prototype_length(spec, taps) / spec.up - state->delay;
  state->line = make_line(sample_size, taps);
  polyphase_resampler_reset(state.get(), 0);
  return state;
}

}  // namespace
}  // namespace auspool

using namespace auspool;

std::int32_t create_polyphase_resampler_stage(std::int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                              std::int32_t channels) {
  return build_stage(is_filter(*spec), sample_size, channels, [&] {
    const std::int32_t taps = (spec->length - 1) / spec->up + 1;
    StageInProgress built(operations(sample_size), channels);
    DirectFilter filter(sample_size, *spec, prototype_length(*spec, taps), taps, spec->up);
    built.share(std::move(filter.rows));
    built.add_states([&] { return make_state(sample_size, *spec, taps, filter.peak); });
    built.hand_over(stage);
  });
}
