// The loop of the stages by fast convolution: fills the line, and runs a block whenever it is full.
#pragma once

#include <algorithm>
#include <cstring>

#include "platform/vector.h"
#include "resampler/delay_line.h"
#include "resampler/stages/fft/fft_shape.h"

namespace auspool {

// A stretch of input and the place of its output, in samples of the shape's size.
struct fft_stretch {
  const void *input;
  std::int32_t in_stride;
  void *output;
  std::int32_t out_stride;
  std::int32_t count;
};

// Consumes the stretch. `block(output)` transforms the line, writes its samples and returns how many they are. Returns
// their sum.
template <typename Block>
std::int64_t run_fft_blocks(const fft_shape &shape, double *line, std::int32_t *fill, fft_stretch stretch,
                            Block block) {
  std::int64_t total = 0;
  while (stretch.count > 0) {
    const std::int32_t taken = std::min(stretch.count, shape.line_length() - *fill);
    copy_to_delay_lineF64(shape.sample_size, line + *fill, &stretch.input, stretch.in_stride, taken);
    stretch.count -= taken;
    *fill += taken;
    if (*fill < shape.line_length()) break;
    const std::int32_t made = block(stretch.output);
    std::memmove(line, line + shape.hop(), static_cast<std::size_t>(shape.keep()) * sizeof(double));
    *fill = shape.keep();
    stretch.output = sample_at(shape.sample_size, stretch.output, std::ptrdiff_t{made} * stretch.out_stride);
    total += made;
  }
  return total;
}

// Writes the good samples of one branch, which end the `samples` of a transform, as every `up`-th output.
inline void write_branch(const fft_shape &shape, const double *samples, std::int32_t branch, void *out,
                         std::int32_t out_stride) {
  const double *good = samples + (shape.fft_size - shape.valid);
  const auto count = static_cast<std::size_t>(shape.valid);
  const std::ptrdiff_t stride = std::ptrdiff_t{shape.up} * out_stride;
  void *first = sample_at(shape.sample_size, out, std::ptrdiff_t{branch} * out_stride);
  if (shape.sample_size == 8) {
    vector::copy(good, 1, static_cast<double *>(first), stride, count);
  } else {
    vector::narrow(good, 1, static_cast<float *>(first), stride, count);
  }
}

// The same for all `up` branches, whose transforms lie behind one another.
inline void write_branches(const fft_shape &shape, const double *samples, void *out, std::int32_t out_stride) {
  const double *good = samples + (shape.fft_size - shape.valid);
  const auto rows = static_cast<std::size_t>(shape.up);
  const auto count = static_cast<std::size_t>(shape.valid);
  if (out_stride != 1) {
    for (std::int32_t branch = 0; branch < shape.up; ++branch, samples += shape.fft_size) {
      write_branch(shape, samples, branch, out, out_stride);
    }
  } else if (shape.sample_size == 8) {
    vector::interleave(good, shape.fft_size, rows, static_cast<double *>(out), count);
  } else {
    vector::interleave(good, shape.fft_size, rows, static_cast<float *>(out), count);
  }
}

}  // namespace auspool
