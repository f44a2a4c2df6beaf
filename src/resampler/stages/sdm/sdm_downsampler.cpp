#include "resampler/stages/sdm/sdm_downsampler.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "auspool/raesampler_stages.h"
#include "platform/linear_algebra.h"
#include "resampler/stages/direct_filter.h"
#include "resampler/stages/sdm/find_sdm_trmx.h"
#include "resampler/stages/stage.h"

namespace auspool {
namespace {

constexpr std::int32_t kBlocksAtOnce = 8;  // these and their sums stay in the first cache

const sdm_downsampler &state_of(const void *state) {
  return *static_cast<const sdm_downsampler *>(state);
}

sdm_downsampler &state_of(void *state) {
  return *static_cast<sdm_downsampler *>(state);
}

template <typename Sample>
vector::Split<Sample> samples_of(void *real, void *imaginary) {
  return {static_cast<Sample *>(real), static_cast<Sample *>(imaginary)};
}

template <typename Split>
Split advanced(Split split, std::ptrdiff_t samples) {
  return {split.real + samples, split.imaginary ? split.imaginary + samples : nullptr};
}

void clear(const sdm_downsampler &s, void *samples, std::int32_t count) {
  std::memset(samples, 0, static_cast<std::size_t>(count) * static_cast<std::size_t>(s.sample_size));
}

}  // namespace

void sdm_downsampler_destroy(void *state) {
  delete static_cast<sdm_downsampler *>(state);
}

void sdm_downsampler_reset(void *state, std::int32_t preroll) {
  sdm_downsampler &s = state_of(state);
  s.fill = preroll ? s.block_size : s.block_size / 2;
  s.started = 0;
  for (void *line : {s.line_real, s.line_imag}) clear(s, line, s.fill);
  for (void *overlap : {s.overlap_real, s.overlap_imag}) clear(s, overlap, s.transform_size / 2);
}

std::int32_t sdm_downsampler_padding(const void *state) {
  return state_of(state).padding;
}

std::int32_t sdm_downsampler_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound) {
  const sdm_downsampler &s = state_of(state);
  const std::int32_t samples = s.complex_input ? input_count / 2 : input_count;
  const std::int64_t held = std::int64_t{upper_bound ? s.block_size : s.fill} + samples;
  const std::int64_t blocks = held / s.block_size - (upper_bound || s.started ? 0 : 1);
  return to_count(std::max<std::int64_t>(blocks, 0) * s.transform_size);
}

std::int32_t sdm_downsampler_input_samples(const void *state, std::int32_t output_count) {
  const sdm_downsampler &s = state_of(state);
  const std::int64_t values = std::int64_t{output_count} + (s.started ? 0 : s.transform_size);
  const std::int64_t blocks = values / s.transform_size + (values != s.transform_size ? 1 : 0);
  return to_count((blocks * s.block_size - s.fill) * (s.complex_input ? 2 : 1));
}

namespace {

template <typename Sample>
linear_algebra::MatrixPass<Sample> matrix_pass(const sdm_downsampler &s, const SdmRun<Sample> &run,
                                               std::int32_t blocks) {
  const auto rows = static_cast<std::size_t>(s.transform_size), columns = static_cast<std::size_t>(s.block_size);
  return {.matrix = run.matrix,
          .rows = rows,
          .columns = columns,
          .in = run.in,
          .in_hop = columns,
          .blocks = static_cast<std::size_t>(blocks),
          .out = samples_of<Sample>(s.sums_real, s.sums_imag),
          .out_hop = rows / 2};
}

// What begins at `first` of the sums waits for the next block.
template <typename Sample>
void keep_overlap(sdm_downsampler &s, std::int32_t first) {
  const auto sums = samples_of<Sample>(s.sums_real, s.sums_imag);
  const auto overlap = samples_of<Sample>(s.overlap_real, s.overlap_imag);
  std::copy_n(sums.real + first, s.transform_size / 2, overlap.real);
  std::copy_n(sums.imaginary + first, s.transform_size / 2, overlap.imaginary);
}

// The first half of the first transform lies before the stream.
template <typename Sample>
void begin_stream(sdm_downsampler &s, const SdmRun<Sample> &run) {
  linear_algebra::multiply(matrix_pass(s, run, 1));
  keep_overlap<Sample>(s, s.transform_size / 2);
  s.started = 1;
}

// Transforms the next blocks of the input all at once. Their sums begin with the overlap, and end with the next one.
template <typename Sample>
void add_blocks(sdm_downsampler &s, SdmRun<Sample> &run, std::int32_t blocks) {
  const std::int32_t half = s.transform_size / 2, made = blocks * half;
  const auto add = [&](Sample *sums, const void *overlap) {
    std::fill_n(std::copy_n(static_cast<const Sample *>(overlap), half, sums), made, Sample(0));
  };
  const auto sums = samples_of<Sample>(s.sums_real, s.sums_imag);
  add(sums.real, s.overlap_real);
  add(sums.imaginary, s.overlap_imag);
  linear_algebra::multiply_add(matrix_pass(s, run, blocks));
  keep_overlap<Sample>(s, made);
  vector::copy(sums.real, 1, run.out.real, run.out_stride, static_cast<std::size_t>(made));
  vector::copy(sums.imaginary, 1, run.out.imaginary, run.out_stride, static_cast<std::size_t>(made));
  run.in = advanced(run.in, std::ptrdiff_t{blocks} * s.block_size);
  run.out = advanced(run.out, made * run.out_stride);
}

// The samples of a run, `count` of each kind. A real signal has no imaginary ones.
template <typename Sample>
vector::Split<const Sample> run_at(const void *samples, std::int32_t count, bool is_complex) {
  const auto *real = static_cast<const Sample *>(samples);
  return {real, is_complex ? real + count : nullptr};
}

// Moves up to `count` samples to the end of the lines. Returns how many.
template <typename Sample>
std::int32_t fill_lines(sdm_downsampler &s, vector::Split<const Sample> in, std::int32_t count) {
  const std::int32_t taken = std::min(count, s.block_size - s.fill);
  std::copy_n(in.real, taken, static_cast<Sample *>(s.line_real) + s.fill);
  if (in.imaginary) std::copy_n(in.imaginary, taken, static_cast<Sample *>(s.line_imag) + s.fill);
  s.fill += taken;
  return taken;
}

}  // namespace

template <typename Sample>
void sdm_downsample(sdm_downsampler &s, SdmRun<Sample> run, std::int32_t blocks) {
  SdmRun<Sample> line = run;
  line.in = samples_of<const Sample>(s.line_real, s.complex_input ? s.line_imag : nullptr);
  s.started ? add_blocks(s, line, 1) : begin_stream(s, line);
  run.out = line.out;
  for (std::int32_t together; blocks > 0; blocks -= together) {
    together = std::min(blocks, kBlocksAtOnce);
    add_blocks(s, run, together);
  }
}

template <typename Sample>
std::int32_t sdm_downsampler_process(void *state, const void *shared, void * /*work*/, const void *in,
                                     std::int32_t /*in_stride*/, void *out, std::int32_t out_stride, std::int32_t count,
                                     std::int32_t /*threads*/) {
  sdm_downsampler &s = state_of(state);
  std::int32_t left = s.complex_input ? count / 2 : count;
  auto samples = run_at<Sample>(in, left, s.complex_input != 0);
  const std::int32_t taken = fill_lines(s, samples, left);
  if (s.fill < s.block_size) return 0;
  samples = advanced(samples, taken);
  left -= taken;
  const std::int32_t blocks = left / s.block_size;
  const std::int32_t produced = (blocks + (s.started ? 1 : 0)) * s.transform_size;
  auto *first_out = static_cast<Sample *>(out);
  const auto &matrix = *static_cast<const vector::Split<Sample> *>(shared);
  sdm_downsample<Sample>(
      s, {matrix, samples, {first_out, first_out + std::ptrdiff_t{produced} / 2 * out_stride}, out_stride}, blocks);
  s.fill = 0;
  fill_lines(s, advanced(samples, std::ptrdiff_t{blocks} * s.block_size), left % s.block_size);
  return produced;
}

namespace {

template <typename Sample>
raesampler_stage operations() {
  raesampler_stage stage = {};
  stage.destroy = sdm_downsampler_destroy;
  stage.reset = sdm_downsampler_reset;
  stage.padding = sdm_downsampler_padding;
  stage.output_samples = sdm_downsampler_output_samples;
  stage.input_samples = sdm_downsampler_input_samples;
  stage.process = sdm_downsampler_process<Sample>;
  stage.free_shared = sizeof(Sample) == 4 ? std::free : nullptr;
  stage.needs_unit_stride = 1;
  return stage;
}

// The matrix for doubles is the process's own and stays.
void share_matrix(StageInProgress &stage, std::int32_t sample_size, const transform_matrix &matrix,
                  std::size_t entries) {
  if (sample_size == 8) return stage.lend(&matrix);
  auto narrowed = make_matrix<float>(entries);
  vector::narrow(matrix.real, 1, narrowed->real, 1, entries);
  vector::narrow(matrix.imaginary, 1, narrowed->imaginary, 1, entries);
  stage.share(std::move(narrowed));
}

void place_arrays(sdm_downsampler &s) {
  const auto line = static_cast<std::size_t>(s.block_size), half = static_cast<std::size_t>(s.transform_size / 2);
  const std::size_t sums = (kBlocksAtOnce + 1) * half, size = static_cast<std::size_t>(s.sample_size);
  s.storage = make_aligned_block<std::byte>(2 * (line + half + sums) * size);
  std::byte *next = s.storage.get();
  const auto place = [&](std::size_t samples) { return std::exchange(next, next + samples * size); };
  s.line_real = place(line);
  s.line_imag = place(line);
  s.sums_real = place(sums);
  s.sums_imag = place(sums);
  s.overlap_real = place(half);
  s.overlap_imag = place(half);
}

std::unique_ptr<sdm_downsampler> make_state(std::int32_t sample_size, const stage_spec &spec) {
  auto state = std::make_unique<sdm_downsampler>();
  state->block_size = state->block_size_copy = spec.block_size;
  state->padding = (spec.complex_input ? 2 : 1) * spec.block_size / 2;
  state->transform_size = spec.transform_size;
  state->complex_input = spec.complex_input ? 1 : 0;
  state->sample_size = sample_size;
  place_arrays(*state);
  sdm_downsampler_reset(state.get(), 0);
  return state;
}

}  // namespace
}  // namespace auspool

using namespace auspool;

std::int32_t create_sdm_downsampler_stage(std::int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                          std::int32_t channels) {
  return build_stage(true, sample_size, channels, [&] {
    const transform_matrix *matrix = find_sdm_trmx(spec->transform_size, spec->block_size);
    if (!matrix) throw std::invalid_argument("no matrix of these sizes");
    StageInProgress built(sample_size == 4 ? operations<float>() : operations<double>(), channels);
    const auto entries = static_cast<std::size_t>(spec->transform_size) * static_cast<std::size_t>(spec->block_size);
    share_matrix(built, sample_size, *matrix, entries);
    built.add_states([&] { return make_state(sample_size, *spec); });
    built.hand_over(stage);
  });
}
