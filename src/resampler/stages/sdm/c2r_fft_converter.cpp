#include "resampler/stages/sdm/c2r_fft_converter.h"

#include <algorithm>
#include <memory>
#include <new>

#include "auspool/filter_design.h"
#include "auspool/raesampler_stages.h"
#include "platform/vector.h"
#include "resampler/delay_line.h"
#include "resampler/stages/direct_filter.h"
#include "resampler/stages/fft/fft_static_data.h"
#include "resampler/stages/stage.h"

namespace auspool {
namespace {

const c2r_fft_converter &state_of(const void *state) {
  return *static_cast<const c2r_fft_converter *>(state);
}

c2r_fft_converter &state_of(void *state) {
  return *static_cast<c2r_fft_converter *>(state);
}

}  // namespace

void c2r_fft_converter_destroy(void *state) {
  delete static_cast<c2r_fft_converter *>(state);
}

void c2r_fft_converter_reset(void *state, std::int32_t preroll) {
  c2r_fft_converter &s = state_of(state);
  s.fill = preroll ? s.line_length - 1 : s.taps - 1;
  std::fill_n(s.line_real, s.fill, 0.0);
  std::fill_n(s.line_imag, s.fill, 0.0);
}

std::int32_t c2r_fft_converter_padding(const void *state) {
  return state_of(state).padding;
}

std::int32_t c2r_fft_converter_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound) {
  const c2r_fft_converter &s = state_of(state);
  const std::int64_t held = std::int64_t{upper_bound ? s.line_length : s.fill} + input_count;
  return held < s.line_length ? 0 : to_count(((held - s.line_length) / s.block_offset + 1) * s.block_offset);
}

std::int32_t c2r_fft_converter_input_samples(const void *state, std::int32_t output_count) {
  const c2r_fft_converter &s = state_of(state);
  const std::int64_t valid = s.block_offset / 2;
  const std::int64_t samples = (output_count / s.block_offset + 1) * valid + s.taps - 1;
  return to_count(std::max<std::int64_t>(samples * 2 - s.fill, 0));
}

namespace {

// The samples of one parity of a full line: those at `parity` and every other behind it.
struct Half {
  const c2r_fft_converter &state;
  std::ptrdiff_t parity;

  const double *imaginary() const { return state.line_imag + parity; }
  // Where the real part of the first output stands.
  const double *real() const { return state.line_real + parity + state.taps - 1; }
};

// out[k] = real[2 * k] - transformed[k]
template <typename Sample>
void subtract(const double *real, const double *transformed, Sample *out, std::ptrdiff_t out_stride,
              std::int32_t count) {
  for (std::int32_t k = 0; k < count; ++k, out += out_stride) {
    *out = static_cast<Sample>(real[2 * k] - transformed[k]);
  }
}

// The outputs of one parity. `work` is three transforms long.
void convert_half(const Half &half, const fft_static_data &shared, double *work, void *out, std::int32_t out_stride) {
  const c2r_fft_converter &s = half.state;
  const RealFft<double> &fft = shared.fft_setup;
  double *samples = work, *spectrum = samples + fft.size(), *scratch = spectrum + fft.size();
  vector::copy(half.imaginary(), 2, samples, 1, fft.size());
  fft.forward_unordered(samples, spectrum, samples);
  fft.inverse_product(spectrum, shared.spectrum(0), samples, scratch);
  const double *transformed = samples + s.taps - 1;
  const std::int32_t count = s.block_offset / 2;
  void *first = sample_at(s.sample_size, out, half.parity * out_stride);
  if (s.sample_size == 8) {
    subtract(half.real(), transformed, static_cast<double *>(first), 2 * out_stride, count);
  } else {
    subtract(half.real(), transformed, static_cast<float *>(first), 2 * out_stride, count);
  }
}

// Leaves what the next block begins with.
void move_lines_on(c2r_fft_converter &s) {
  const std::int32_t kept = s.line_length - s.block_offset;
  for (double *line : {s.line_real, s.line_imag}) std::copy_n(line + s.block_offset, kept, line);
  s.fill = kept;
}

}  // namespace

std::int32_t c2r_fft_converter_process(void *state, const void *shared, void *work, const void *in,
                                       std::int32_t in_stride, void *out, std::int32_t out_stride, std::int32_t count,
                                       std::int32_t /*threads*/) {
  c2r_fft_converter &s = state_of(state);
  std::int32_t left = count / 2;
  const void *real = in, *imaginary = sample_at(s.sample_size, in, std::ptrdiff_t{left} * in_stride);
  std::int32_t total = 0;
  while (left > 0) {
    const std::int32_t taken = std::min(left, s.line_length - s.fill);
    copy_to_delay_lineF64(s.sample_size, s.line_real + s.fill, &real, in_stride, taken);
    copy_to_delay_lineF64(s.sample_size, s.line_imag + s.fill, &imaginary, in_stride, taken);
    left -= taken;
    s.fill += taken;
    if (s.fill < s.line_length) break;
    void *block = sample_at(s.sample_size, out, std::ptrdiff_t{total} * out_stride);
    for (const std::ptrdiff_t parity : {0, 1}) {
      convert_half({s, parity}, *static_cast<const fft_static_data *>(shared), static_cast<double *>(work), block,
                   out_stride);
    }
    move_lines_on(s);
    total += s.block_offset;
  }
  return total;
}

namespace {

Block<double> make_work(const c2r_fft_converter &s) {
  return make_aligned_block<double>(static_cast<std::size_t>(s.work_size));
}

}  // namespace

void *c2r_fft_converter_alloc_workbuffer(const void *state) try {
  return make_work(state_of(state)).release();
} catch (...) {
  return nullptr;
}

namespace {

constexpr raesampler_stage operations() {
  raesampler_stage stage = {};
  stage.destroy = c2r_fft_converter_destroy;
  stage.reset = c2r_fft_converter_reset;
  stage.padding = c2r_fft_converter_padding;
  stage.output_samples = c2r_fft_converter_output_samples;
  stage.input_samples = c2r_fft_converter_input_samples;
  stage.process = c2r_fft_converter_process;
  stage.free_shared = fft_free_static_data;
  stage.alloc_workbuffer = c2r_fft_converter_alloc_workbuffer;
  stage.free_workbuffer = std::free;
  return stage;
}

// What follows from the length alone; without lines yet.
c2r_fft_converter shape_of(std::int32_t sample_size, std::int32_t length) {
  c2r_fft_converter s = {};
  s.taps = (((length | 1) + 1) >> 2) * 2;
  std::uint32_t log2_size = 0;
  s.fft_size = fft_size_for_filter_length(s.taps, &log2_size, 2);
  s.log2_size = static_cast<std::int32_t>(log2_size);
  s.block_offset = 2 * (s.fft_size - s.taps + 1);
  s.padding = s.line_length = 2 * s.fft_size;
  s.complex = 1;
  s.sample_size = sample_size;
  s.work_size = 3 * s.fft_size;
  return s;
}

// The taps that are not 0 of a transformer of almost twice as many.
Block<double> design_taps(const stage_spec &spec, std::int32_t taps) {
  const std::int32_t length = 2 * taps - 1;
  const Block<double> prototype(
      create_hilbert_filter(length, static_cast<std::int32_t>(spec.window), spec.kaiser_beta));
  if (!prototype) throw std::bad_alloc();
  void *rows = make_polyphase_filter(8, prototype.get(), length, taps, 2, 1);
  if (!rows) throw std::bad_alloc();
  return Block<double>(static_cast<double *>(rows));
}

std::unique_ptr<fft_static_data> make_static_data(const stage_spec &spec, const c2r_fft_converter &shape) {
  auto data = std::make_unique<fft_static_data>(shape.log2_size);
  const std::size_t size = data->fft_setup.size();
  const Block<double> taps = design_taps(spec, shape.taps);
  const auto padded = make_aligned_block<double>(2 * size);
  std::copy_n(taps.get(), shape.taps, padded.get());
  data->spectra = make_aligned_block<double>(size);
  data->fft_setup.forward_unordered(padded.get(), data->spectra.get(), padded.get() + size);
  // Both transforms of a product double, and the way back multiplies by the size.
  vector::scale(data->spectra.get(), 1.0 / (4.0 * static_cast<double>(size)), data->spectra.get(), size);
  return data;
}

std::unique_ptr<c2r_fft_converter> make_state(std::int32_t sample_size, std::int32_t length) {
  auto state = std::make_unique<c2r_fft_converter>(shape_of(sample_size, length));
  const auto line = static_cast<std::size_t>(state->line_length);
  state->storage = make_aligned_block<double>(2 * line);
  state->line_real = state->storage.get();
  state->line_imag = state->line_real + line;
  c2r_fft_converter_reset(state.get(), 0);
  return state;
}

bool is_length(std::int32_t length) {
  constexpr std::int32_t kLeast = 2, kMost = 1 << 24;
  return length >= kLeast && length <= kMost;
}

}  // namespace
}  // namespace auspool

using namespace auspool;

std::int32_t create_c2r_fft_converter_stage(std::int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                            std::int32_t channels) {
  return build_stage(is_length(spec->length), sample_size, channels, [&] {
    const c2r_fft_converter shape = shape_of(sample_size, spec->length);
    StageInProgress built(operations(), channels);
    built.share(make_static_data(*spec, shape));
    built.use_work(make_work(shape));
    built.add_states([&] { return make_state(sample_size, spec->length); });
    built.hand_over(stage);
  });
}
