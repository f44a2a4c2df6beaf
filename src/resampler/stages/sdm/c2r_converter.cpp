#include "resampler/stages/sdm/c2r_converter.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

#include "auspool/filter_design.h"
#include "auspool/raesampler_stages.h"
#include "platform/vector.h"
#include "resampler/stages/direct/window_line.h"
#include "resampler/stages/direct_filter.h"
#include "resampler/stages/stage.h"

namespace auspool {
namespace {

const c2r_converter &state_of(const void *state) {
  return *static_cast<const c2r_converter *>(state);
}

c2r_converter &state_of(void *state) {
  return *static_cast<c2r_converter *>(state);
}

}  // namespace

void c2r_converter_destroy(void *state) {
  delete static_cast<c2r_converter *>(state);
}

void c2r_converter_reset(void *state, std::int32_t preroll) {
  c2r_converter &s = state_of(state);
  for (const auto &line : {s.line_real.get(), s.line_imag.get()}) {
    s.fill = start_line(line, s.sample_size, s.length, s.delay, preroll != 0);
  }
}

std::int32_t c2r_converter_padding(const void *state) {
  return state_of(state).tail;
}

std::int32_t c2r_converter_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound) {
  const c2r_converter &s = state_of(state);
  const std::int32_t samples = input_count / 2;
  return upper_bound ? samples : std::max(s.fill - (s.length - 1) + samples, 0);
}

std::int32_t c2r_converter_input_samples(const void *state, std::int32_t output_count) {
  const c2r_converter &s = state_of(state);
  return to_count((std::int64_t{s.length} - s.fill + output_count) * 2 - 2);
}

namespace {

// Calls `each(samples, first, outputs)` for the outputs whose windows lie in one stretch of a line, and returns their
// number. `fill` becomes the line's new one.
template <typename Sample, typename Each>
std::int64_t run_line(std::int32_t &fill, const c2r_converter &s, std::byte *line, const Sample *in,
                      std::int32_t in_stride, std::int32_t count, Each each) {
  std::int64_t written = 0;
  WindowLine<Sample> block(fill, s.length, line, in, in_stride, count);
  if (!block.begin()) return 0;
  block.run([&](const Sample *samples, std::int64_t available) {
    const std::int64_t outputs = std::max<std::int64_t>(available - (s.length - 1), 0);
    each(samples, written, outputs);
    written += outputs;
    return outputs;
  });
  return written;
}

}  // namespace

template <typename Sample>
std::int32_t c2r_converter_process(void *state, const void *shared, void * /*work*/, const void *in,
                                   std::int32_t in_stride, void *out, std::int32_t out_stride, std::int32_t count,
                                   std::int32_t /*threads*/) {
  c2r_converter &s = state_of(state);
  const std::int32_t samples = count / 2;
  const auto *real = static_cast<const Sample *>(in), *imaginary = real + std::ptrdiff_t{samples} * in_stride;
  const auto *filter = static_cast<const Sample *>(shared);
  auto *first_out = static_cast<Sample *>(out);
  std::int32_t fill = s.fill;
  run_line<Sample>(fill, s, s.line_imag.get(), imaginary, in_stride, samples,
                   [&](const Sample *window, std::int64_t first, std::int64_t outputs) {
                     vector::dot_many<Sample>({.a = window,
                                               .a_hop = 1,
                                               .b = filter,
                                               .b_hop = 0,
                                               .count = static_cast<std::size_t>(s.length),
                                               .out = first_out + first * out_stride,
                                               .out_stride = out_stride,
                                               .outputs = static_cast<std::size_t>(outputs)});
                   });
  return static_cast<std::int32_t>(
      run_line<Sample>(s.fill, s, s.line_real.get(), real, in_stride, samples,
                       [&](const Sample *window, std::int64_t first, std::int64_t outputs) {
                         const Sample *middle = window + (s.length - 1) / 2;
                         Sample *to = first_out + first * out_stride;
                         for (std::int64_t k = 0; k < outputs; ++k, to += out_stride) *to = middle[k] - *to;
                       }));
}

namespace {

template <typename Sample>
constexpr raesampler_stage operations() {
  raesampler_stage stage = {};
  stage.destroy = c2r_converter_destroy;
  stage.reset = c2r_converter_reset;
  stage.padding = c2r_converter_padding;
  stage.output_samples = c2r_converter_output_samples;
  stage.input_samples = c2r_converter_input_samples;
  stage.process = c2r_converter_process<Sample>;
  stage.free_shared = std::free;
  stage.needs_unit_stride = sizeof(Sample) == 4 ? 1 : 0;
  return stage;
}

Block<std::byte> design_row(std::int32_t sample_size, const stage_spec &spec, std::int32_t length) {
  const Block<double> prototype(
      create_hilbert_filter(length, static_cast<std::int32_t>(spec.window), spec.kaiser_beta));
  if (!prototype) throw std::bad_alloc();
  void *row = make_polyphase_filter(sample_size, prototype.get(), length, length, 1, -1);
  if (!row) throw std::bad_alloc();
  return Block<std::byte>(static_cast<std::byte *>(row));
}

std::unique_ptr<c2r_converter> make_state(std::int32_t sample_size, const stage_spec &spec) {
  auto state = std::make_unique<c2r_converter>();
  state->length = spec.length | 1;
  state->delay = (spec.length >> 1) + 1;
  state->tail = 2 * state->length - state->delay;
  state->sample_size = sample_size;
  state->line_real = make_line(sample_size, state->length);
  state->line_imag = make_line(sample_size, state->length);
  c2r_converter_reset(state.get(), 0);
  return state;
}

bool is_length(std::int32_t length) {
  constexpr std::int32_t kLeast = 2, kMost = 1 << 24;
  return length >= kLeast && length <= kMost;
}

}  // namespace
}  // namespace auspool

using namespace auspool;

std::int32_t create_c2r_converter_stage(std::int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                        std::int32_t channels) {
  return build_stage(is_length(spec->length), sample_size, channels, [&] {
    StageInProgress built(sample_size == 4 ? operations<float>() : operations<double>(), channels);
    built.share(design_row(sample_size, *spec, spec->length | 1));
    built.add_states([&] { return make_state(sample_size, *spec); });
    built.hand_over(stage);
  });
}
