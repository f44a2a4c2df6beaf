// The block geometry of the stages by fast convolution, and the counts that follow from it.
//
// A line of `down` times F samples is full when a block runs. Each of the P = max(up, down) branches of the filter
// transforms F samples and gives `valid` good ones; the line then moves on by `down * valid` samples.
#pragma once

#include <cstdint>

#include "auspool/raesampler_stages.h"

namespace auspool {

struct fft_shape {
  std::int32_t sample_size;
  std::int32_t up;  // one of these two is 1
  std::int32_t down;
  std::int32_t phases;  // P
  std::int32_t taps;    // of a branch
  std::int32_t fft_size;
  std::int32_t log2_size;
  std::int32_t valid;

  std::int32_t line_length() const { return down * fft_size; }
  std::int32_t hop() const { return down * valid; }                // input samples of a block
  std::int32_t keep() const { return down * (fft_size - valid); }  // of the line, for the next block
  std::int32_t block_outputs() const { return up * valid; }
};

// Whether a spec makes a filter with a whole factor up or down.
bool is_fft_filter(const stage_spec &spec);

// The taps of a branch.
std::int32_t fft_branch_taps(const stage_spec &spec);

// Throws std::length_error where no transform is that long, or lines and blocks cannot be counted.
fft_shape make_fft_shape(std::int32_t sample_size, const stage_spec &spec, std::int32_t log2_size, std::int32_t valid);

// What the operations output_samples and input_samples answer with `fill` samples in the line. A decimator's line that
// holds F samples, but is not full, is told to give a block that comes later.
std::int32_t fft_output_samples(const fft_shape &shape, std::int32_t fill, std::int32_t input_count,
                                std::int32_t upper_bound);
std::int32_t fft_input_samples(const fft_shape &shape, std::int32_t fill, std::int32_t output_count);

}  // namespace auspool
