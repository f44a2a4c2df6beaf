// Block transforms as a stage: a real or complex signal goes in, a complex one of a lower rate comes out.
//
// A run of c complex samples is 2 * c values in a stage's buffer: c real parts, then c imaginary parts. All counts are
// of values. Such a run must reach the stage behind it whole: half of it is another signal.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/vector.h"
#include "resampler/memory.h"

namespace auspool {

struct sdm_downsampler {
  std::int32_t fill;  // samples in the lines
  std::int32_t block_size_copy;
  std::int32_t padding;
  std::int32_t block_size;
  std::int32_t transform_size;
  std::uint32_t complex_input;
  std::int32_t sample_size;
  std::uint32_t started;  // the first block is done
  // In `storage`, of `sample_size` bytes a sample.
  void *line_real;  // the block that is being filled
  void *line_imag;
  void *overlap_real;  // the second half of what the last block became
  void *overlap_imag;
  void *sums_real;  // what some blocks at once become
  void *sums_imag;
  Block<std::byte> storage;
};

void sdm_downsampler_destroy(void *state);
void sdm_downsampler_reset(void *state, std::int32_t preroll);
std::int32_t sdm_downsampler_padding(const void *state);
std::int32_t sdm_downsampler_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound);
// Asks for a block more than it takes where `output_count` is whole blocks.
std::int32_t sdm_downsampler_input_samples(const void *state, std::int32_t output_count);
// `in_stride` is 1.
template <typename Sample>
std::int32_t sdm_downsampler_process(void *state, const void *shared, void *work, const void *in,
                                     std::int32_t in_stride, void *out, std::int32_t out_stride, std::int32_t count,
                                     std::int32_t threads);

// Where a call's input and output lie. A real signal's `in.imaginary` is null.
template <typename Sample>
struct SdmRun {
  vector::Split<const Sample> matrix;
  vector::Split<const Sample> in;
  vector::Split<Sample> out;
  std::ptrdiff_t out_stride;
};

// Transforms the block in the lines, then `blocks` that lie behind one another in the input. Writes half a transform
// for each, but for the first of a stream, whose first half lies before it.
template <typename Sample>
void sdm_downsample(sdm_downsampler &state, SdmRun<Sample> run, std::int32_t blocks);

}  // namespace auspool
