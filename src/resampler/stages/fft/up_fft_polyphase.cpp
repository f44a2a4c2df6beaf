#include "resampler/stages/fft/up_fft_polyphase.h"

#include <algorithm>
#include <bit>

#include "resampler/stages/direct_filter.h"
#include "resampler/stages/fft/fft_blocks.h"
#include "resampler/stages/stage.h"

namespace auspool {
namespace {

const up_fft_polyphase &state_of(const void *state) {
  return *static_cast<const up_fft_polyphase *>(state);
}

up_fft_polyphase &state_of(void *state) {
  return *static_cast<up_fft_polyphase *>(state);
}

// The spectra of a branch, from the newest to the oldest.
double **slots_of(const up_fft_polyphase &s, std::int32_t branch) {
  return s.spectrum_index.get() + std::ptrdiff_t{branch} * s.partitions;
}

std::size_t spectra_of(const up_fft_polyphase &s) {
  return static_cast<std::size_t>(s.shape.down) * static_cast<std::size_t>(s.partitions);
}

}  // namespace

void up_fft_polyphase_destroy(void *state) {
  delete static_cast<up_fft_polyphase *>(state);
}

void up_fft_polyphase_reset(void *state, std::int32_t preroll) {
  up_fft_polyphase &s = state_of(state);
  s.fill = s.shape.line_length() - (preroll ? 1 : s.start_offset);
  s.fresh = true;
  std::fill_n(s.line.get(), s.fill, 0.0);
  std::fill_n(s.spectra.get(), spectra_of(s) * static_cast<std::size_t>(s.shape.fft_size), 0.0);
}

std::int32_t up_fft_polyphase_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound) {
  return fft_output_samples(state_of(state).shape, state_of(state).fill, input_count, upper_bound);
}

std::int32_t up_fft_polyphase_input_samples(const void *state, std::int32_t output_count) {
  return fft_input_samples(state_of(state).shape, state_of(state).fill, output_count);
}

void up_fft_madd(const RealFft<double> &fft, const double *filter, double *const *slots, std::int32_t partitions,
                 bool begins, double *sum) {
  fft.multiply_sum(slots, filter, static_cast<std::size_t>(partitions), !begins, sum);
}

std::int32_t up_fft_polyphase_interpolate(up_fft_polyphase &state, const fft_static_data &shared, double *work,
                                          void *out, std::int32_t out_stride) {
  const RealFft<double> &fft = shared.fft_setup;
  double *sum = work + fft.size();
  double **slots = slots_of(state, 0);
  fft.forward_unordered(state.line.get(), slots[0], work);
  for (std::int32_t branch = 0; branch < state.shape.phases; ++branch) {
    up_fft_madd(fft, shared.spectrum(branch), slots, state.partitions, true, sum);
    fft.inverse_unordered(sum, sum, work);
    write_branch(state.shape, sum, branch, out, out_stride);
  }
  return state.shape.block_outputs();
}

std::int32_t up_fft_polyphase_decimate(up_fft_polyphase &state, const fft_static_data &shared, double *work, void *out,
                                       std::int32_t out_stride) {
  const RealFft<double> &fft = shared.fft_setup;
  const std::int32_t phases = state.shape.phases;
  double *sum = work + fft.size();
  for (std::int32_t branch = 0; branch < phases; ++branch) {
    double **slots = slots_of(state, branch);
    vector::copy(state.line.get() + branch, phases, work, 1, fft.size());
    fft.forward_unordered(work, slots[0], work);
    up_fft_madd(fft, shared.spectrum(phases - 1 - branch), slots, state.partitions, branch == 0, sum);
  }
  fft.inverse_unordered(sum, sum, work);
  write_branch(state.shape, sum, 0, out, out_stride);
  return state.shape.block_outputs();
}

namespace {

// The first half of a fresh line may hold real input, which the second partition would have seen one block earlier.
void give_history(up_fft_polyphase &s, const RealFft<double> &fft, double *work) {
  s.fresh = false;
  if (s.partitions < 2) return;
  const std::size_t half = fft.size() / 2;
  for (std::int32_t branch = 0; branch < s.shape.down; ++branch) {
    std::fill_n(work, half, 0.0);
    vector::copy(s.line.get() + branch, s.shape.down, work + half, 1, half);
    fft.forward_unordered(work, slots_of(s, branch)[1], work);
  }
}

// The oldest spectrum's place becomes that of the next block.
void rotate_slots(up_fft_polyphase &s) {
  for (std::int32_t branch = 0; branch < s.shape.down; ++branch) {
    double **slots = slots_of(s, branch);
    std::rotate(slots, slots + s.partitions - 1, slots + s.partitions);
  }
}

}  // namespace

std::int32_t up_fft_polyphase_process(void *state, const void *shared, void *work, const void *in,
                                      std::int32_t in_stride, void *out, std::int32_t out_stride, std::int32_t count,
                                      std::int32_t /*threads*/) {
  up_fft_polyphase &s = state_of(state);
  const auto &data = *static_cast<const fft_static_data *>(shared);
  auto *memory = static_cast<double *>(work);
  const auto block_function = s.shape.down == 1 ? up_fft_polyphase_interpolate : up_fft_polyphase_decimate;
  const fft_stretch stretch = {in, in_stride, out, out_stride, count};
  return to_count(run_fft_blocks(s.shape, s.line.get(), &s.fill, stretch, [&](void *output) {
    if (s.fresh) give_history(s, data.fft_setup, memory);
    const std::int32_t made = block_function(s, data, memory, output, out_stride);
    rotate_slots(s);
    return made;
  }));
}

namespace {

Block<double> make_work(const fft_shape &shape) {
  return make_aligned_block<double>(2 * static_cast<std::size_t>(shape.fft_size));
}

}  // namespace

void *up_fft_polyphase_alloc_workbuffer(const void *state) try {
  return make_work(state_of(state).shape).release();
} catch (...) {
  return nullptr;
}

namespace {

std::int32_t line_length_of(const void *state) {
  return state_of(state).shape.line_length();
}

constexpr raesampler_stage operations() {
  raesampler_stage stage = {};
  stage.destroy = up_fft_polyphase_destroy;
  stage.reset = up_fft_polyphase_reset;
  stage.padding = line_length_of;
  stage.output_samples = up_fft_polyphase_output_samples;
  stage.input_samples = up_fft_polyphase_input_samples;
  stage.process = up_fft_polyphase_process;
  stage.free_shared = fft_free_static_data;
  stage.alloc_workbuffer = up_fft_polyphase_alloc_workbuffer;
  stage.free_workbuffer = std::free;
  return stage;
}

// Blocks of the largest power of two that the latency leaves, and of 64 at least.
fft_shape shape_of(std::int32_t sample_size, const stage_spec &spec, std::int32_t latency_samples) {
  constexpr std::int32_t kLeast = 64;
  const auto block = std::bit_floor(static_cast<std::uint32_t>(std::max(latency_samples, kLeast)));
  return make_fft_shape(sample_size, spec, std::countr_zero(block) + 1, static_cast<std::int32_t>(block));
}

// What a fresh line lacks. More than a line cannot be taken out: what a longer filter delays beyond that stays in.
std::int32_t start_offset_of(const fft_shape &shape, const stage_spec &spec, std::int32_t peak) {
  const std::int32_t line = shape.line_length();
  const std::int32_t delay = spec.minimum_phase ? peak / shape.phases + line / 2
                                                : to_count((std::int64_t{shape.down} * shape.taps + line - 1) / 2);
  return std::clamp(delay, 1, line);
}

std::unique_ptr<up_fft_polyphase> make_state(const fft_shape &shape, std::int32_t start_offset,
                                             std::int32_t partitions) {
  auto state = std::make_unique<up_fft_polyphase>();
  state->shape = shape;
  state->start_offset = start_offset;
  state->partitions = partitions;
  const auto size = static_cast<std::size_t>(shape.fft_size);
  const std::size_t count = spectra_of(*state);
  state->line = make_aligned_block<double>(static_cast<std::size_t>(shape.line_length()));
  state->spectra = make_aligned_block<double>(count * size);
  state->spectrum_index = make_block<double *>(count);
  for (std::size_t i = 0; i < count; ++i) state->spectrum_index[i] = state->spectra.get() + i * size;
  up_fft_polyphase_reset(state.get(), 0);
  return state;
}

}  // namespace
}  // namespace auspool

using namespace auspool;

std::int32_t create_up_fft_polyphase_stage(std::int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                           std::int32_t channels, std::int32_t latency_samples) {
  return build_stage(is_fft_filter(*spec), sample_size, channels, [&] {
    const fft_shape shape = shape_of(sample_size, *spec, latency_samples);
    auto shared = make_fft_static_data(*spec, shape, shape.valid);
    const std::int32_t partitions = shared->partitions;
    const std::int32_t start_offset = start_offset_of(shape, *spec, shared->peak);
    StageInProgress built(operations(), channels);
    built.share(std::move(shared));
    built.use_work(make_work(shape));
    built.add_states([&] { return make_state(shape, start_offset, partitions); });
    built.hand_over(stage);
  });
}
