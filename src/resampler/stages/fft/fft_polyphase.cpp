#include "resampler/stages/fft/fft_polyphase.h"

#include <algorithm>

#include "auspool/filter_design.h"
#include "resampler/stages/direct_filter.h"
#include "resampler/stages/stage.h"

namespace auspool {
namespace {

const fft_polyphase &state_of(const void *state) {
  return *static_cast<const fft_polyphase *>(state);
}

fft_polyphase &state_of(void *state) {
  return *static_cast<fft_polyphase *>(state);
}

// For an interpolator the input's spectrum, scratch and the samples of all branches; for others the input's spectrum,
// the sum and samples.
std::int32_t work_size_of(const fft_shape &shape) {
  return (2 + shape.up) * shape.fft_size;
}

constexpr std::int32_t kMostThreads = 64;

fft_block_function block_function_of(const fft_shape &shape) {
  return shape.down == 1 ? fft_polyphase_interpolate : fft_polyphase_decimate;
}

}  // namespace

void fft_polyphase_destroy(void *state) {
  delete static_cast<fft_polyphase *>(state);
}

void fft_polyphase_reset(void *state, std::int32_t preroll) {
  fft_polyphase &s = state_of(state);
  s.fill = s.shape.line_length() - (preroll ? 1 : s.start_offset);
  std::fill_n(s.line.get(), s.fill, 0.0);
}

std::int32_t fft_polyphase_padding(const void *state) {
  return state_of(state).shape.line_length();
}

std::int32_t fft_polyphase_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound) {
  return fft_output_samples(state_of(state).shape, state_of(state).fill, input_count, upper_bound);
}

std::int32_t fft_polyphase_input_samples(const void *state, std::int32_t output_count) {
  return fft_input_samples(state_of(state).shape, state_of(state).fill, output_count);
}

std::int32_t fft_polyphase_interpolate(const fft_shape &shape, const fft_static_data &shared, const double *line,
                                       double *work_area, void *out, std::int32_t out_stride) {
  const RealFft<double> &fft = shared.fft_setup;
  double *input = work_area;
  double *scratch = input + fft.size();
  double *output = scratch + fft.size();
  fft.forward_unordered(line, input, scratch);
  for (std::int32_t branch = 0; branch < shape.phases; ++branch) {
    double *samples = output + std::ptrdiff_t{branch} * shape.fft_size;
    fft.inverse_product(input, shared.spectrum(branch), samples, scratch);
  }
  write_branches(shape, output, out, out_stride);
  return shape.block_outputs();
}

// The branches are summed as spectra: one transform back serves them all.
std::int32_t fft_polyphase_decimate(const fft_shape &shape, const fft_static_data &shared, const double *line,
                                    double *work_area, void *out, std::int32_t out_stride) {
  const RealFft<double> &fft = shared.fft_setup;
  double *samples = work_area;
  double *input = samples + fft.size();
  double *sum = input + fft.size();
  for (std::int32_t branch = 0; branch < shape.phases; ++branch) {
    vector::copy(line + branch, shape.phases, samples, 1, fft.size());
    fft.forward_unordered(samples, input, samples);
    const double *filter = shared.spectrum(shape.phases - 1 - branch);
    branch == 0 ? fft.multiply(input, filter, sum) : fft.multiply_add(input, filter, sum);
  }
  fft.inverse_unordered(sum, sum, samples);
  write_branches(shape, sum, out, out_stride);
  return shape.block_outputs();
}

namespace {

// A block that is cut into sections. Each begins `keep` samples before the end of the one before it, with an empty
// line, and but for the last they end with a block.
class SplitBlock {
public:
  SplitBlock(fft_polyphase &state, fft_polyphase_work &work, const fft_polyphase_run &whole, std::int32_t sections)
      : state_(state), work_(work), whole_(whole), sections_(sections) {
    const fft_shape &shape = state.shape;
    blocks_ = share_of(state, whole.stretch.count, sections) / shape.hop();
    span_ = blocks_ * shape.hop() + shape.keep();
  }

  static bool pays(const fft_polyphase &state, std::int32_t count, std::int32_t sections) {
    return sections > 1 && std::int64_t{share_of(state, count, sections)} + state.shape.keep() >=
                               std::int64_t{2} * state.shape.line_length();
  }

  void run() {
    for (std::int32_t i = 1; i < sections_; ++i) work_.sections[static_cast<std::size_t>(i - 1)]->start(section(i));
    fft_polyphase_run first = whole_;
    first.stretch.count = span_ - whole_.fill;
    fft_polyphase_process_loop(first);
    fft_p_section_thread_wait_all(work_, sections_ - 1);
    state_.fill = work_.sections[static_cast<std::size_t>(sections_ - 2)]->fill();
    std::copy_n(line(sections_ - 1), state_.fill, state_.line.get());
  }

private:
  static std::int32_t share_of(const fft_polyphase &state, std::int32_t count, std::int32_t sections) {
    return static_cast<std::int32_t>((std::int64_t{count} + state.fill) / sections);
  }

  double *line(std::int32_t i) const { return state_.line.get() + std::ptrdiff_t{i} * state_.line_stride; }

  fft_polyphase_run section(std::int32_t i) const {
    const fft_shape &shape = state_.shape;
    const std::int64_t begin = std::int64_t{i} * blocks_ * shape.hop() - whole_.fill;
    const std::int64_t before = std::int64_t{i} * blocks_ * shape.block_outputs();
    fft_polyphase_run run = whole_;
    fft_stretch &stretch = run.stretch;
    stretch.input = sample_at(shape.sample_size, stretch.input, begin * stretch.in_stride);
    stretch.output = sample_at(shape.sample_size, stretch.output, before * stretch.out_stride);
    const bool is_last = i == sections_ - 1;
    stretch.count = is_last ? static_cast<std::int32_t>(stretch.count - begin) : span_;
    run.fill = 0;
    run.line = line(i);
    run.work_area = work_.work_area(i);
    return run;
  }

  fft_polyphase &state_;
  fft_polyphase_work &work_;
  const fft_polyphase_run whole_;
  const std::int32_t sections_;
  std::int32_t blocks_;  // of a section
  std::int32_t span_;    // of a section, the samples that its line begins with included
};

}  // namespace

std::int32_t fft_polyphase_process(void *state, const void *shared, void *work, const void *in, std::int32_t in_stride,
                                   void *out, std::int32_t out_stride, std::int32_t count, std::int32_t threads) {
  fft_polyphase &s = state_of(state);
  auto &w = *static_cast<fft_polyphase_work *>(work);
  const std::int64_t reached = std::int64_t{count} + s.fill - s.shape.keep();
  fft_polyphase_run run = {s.shape,
                           block_function_of(s.shape),
                           static_cast<const fft_static_data *>(shared),
                           w.work_area(0),
                           s.line.get(),
                           s.fill,
                           {in, in_stride, out, out_stride, count}};
  const std::int32_t sections = std::min(w.thread_count, threads);
  if (SplitBlock::pays(s, count, sections)) {
    SplitBlock(s, w, run, sections).run();
  } else {
    fft_polyphase_process_loop(run);
    s.fill = run.fill;
  }
  return to_count(s.shape.block_outputs() * (reached / s.shape.hop()));
}

void *fft_polyphase_alloc_workbuffer(const void *state) try {
  const fft_polyphase &s = state_of(state);
  return fft_polyphase_create_workbuffer(work_size_of(s.shape), s.threads).release();
} catch (...) {
  return nullptr;
}

namespace {

constexpr raesampler_stage operations() {
  raesampler_stage stage = {};
  stage.destroy = fft_polyphase_destroy;
  stage.reset = fft_polyphase_reset;
  stage.padding = fft_polyphase_padding;
  stage.output_samples = fft_polyphase_output_samples;
  stage.input_samples = fft_polyphase_input_samples;
  stage.process = fft_polyphase_process;
  stage.free_shared = fft_free_static_data;
  stage.alloc_workbuffer = fft_polyphase_alloc_workbuffer;
  stage.free_workbuffer = fft_polyphase_dealloc_workbuffer;
  return stage;
}

fft_shape shape_of(std::int32_t sample_size, const stage_spec &spec) {
  const std::int32_t taps = fft_branch_taps(spec);
  std::uint32_t log2_size = 0;
  const std::int32_t size = fft_size_for_filter_length(taps, &log2_size, 2);
  return make_fft_shape(sample_size, spec, static_cast<std::int32_t>(log2_size), size - taps + 1);
}

// The samples that a fresh line begins with: as many as the first output's window has behind the filter's delay.
std::int32_t history_of(const fft_shape &shape, const stage_spec &spec, std::int32_t peak) {
  const std::int32_t window = shape.down * shape.taps;
  return spec.minimum_phase ? window - 1 - peak / shape.up : (window - 1) / 2;
}

std::unique_ptr<fft_polyphase> make_state(const fft_shape &shape, std::int32_t history, std::int32_t threads) {
  auto state = std::make_unique<fft_polyphase>();
  state->shape = shape;
  state->threads = threads;
  state->line_stride = shape.line_length();
  state->start_offset = shape.line_length() - history;
  state->line =
      make_aligned_block<double>(static_cast<std::size_t>(threads) * static_cast<std::size_t>(state->line_stride));
  fft_polyphase_reset(state.get(), 0);
  return state;
}

}  // namespace
}  // namespace auspool

using namespace auspool;

std::int32_t create_fft_polyphase_stage(std::int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                        std::int32_t channels, std::int32_t threads) {
  return build_stage(is_fft_filter(*spec), sample_size, channels, [&] {
    const fft_shape shape = shape_of(sample_size, *spec);
    const std::int32_t lines = std::clamp(threads, 1, kMostThreads);
    auto shared = make_fft_static_data(*spec, shape, shape.taps);
    const std::int32_t history = history_of(shape, *spec, shared->peak);
    StageInProgress built(operations(), channels);
    built.share(std::move(shared));
    built.use_work(fft_polyphase_create_workbuffer(work_size_of(shape), lines));
    built.add_states([&] { return make_state(shape, history, lines); });
    built.hand_over(stage);
  });
}
