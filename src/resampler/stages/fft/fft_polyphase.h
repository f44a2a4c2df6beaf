// A decimator, filter or interpolator by fast convolution in large blocks (overlap-save). A block of input waits until
// its line is full.
#pragma once

#include <cstdint>

#include "resampler/memory.h"
#include "resampler/stages/fft/fft_polyphase_work.h"
#include "resampler/stages/fft/fft_shape.h"
#include "resampler/stages/fft/fft_static_data.h"

namespace auspool {

struct fft_polyphase {
  fft_shape shape;
  std::int32_t fill;          // samples in `line`
  std::int32_t start_offset;  // what a fresh line lacks
  std::int32_t threads;
  std::int32_t line_stride;  // samples between the lines of sections
  Block<double> line;        // one for each thread; the first is the stage's own
};

void fft_polyphase_destroy(void *state);
void fft_polyphase_reset(void *state, std::int32_t preroll);
std::int32_t fft_polyphase_padding(const void *state);
std::int32_t fft_polyphase_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound);
std::int32_t fft_polyphase_input_samples(const void *state, std::int32_t output_count);
// With `threads` above 1 a long block is cut into sections that run side by side; the output is the same.
std::int32_t fft_polyphase_process(void *state, const void *shared, void *work, const void *in, std::int32_t in_stride,
                                   void *out, std::int32_t out_stride, std::int32_t count, std::int32_t threads);
void *fft_polyphase_alloc_workbuffer(const void *state);

// Block functions.
std::int32_t fft_polyphase_interpolate(const fft_shape &shape, const fft_static_data &shared, const double *line,
                                       double *work_area, void *out, std::int32_t out_stride);
std::int32_t fft_polyphase_decimate(const fft_shape &shape, const fft_static_data &shared, const double *line,
                                    double *work_area, void *out, std::int32_t out_stride);

}  // namespace auspool
