// A decimator, filter or interpolator by fast convolution in small blocks of the caller's choice: the filter is cut
// into partitions of one block each, and the spectra of past blocks are kept for them (uniformly partitioned
// convolution).
#pragma once

#include <cstdint>

#include "resampler/memory.h"
#include "resampler/stages/fft/fft_shape.h"
#include "resampler/stages/fft/fft_static_data.h"

namespace auspool {

struct up_fft_polyphase {
  fft_shape shape;            // `valid` samples are a block: half a transform
  std::int32_t fill;          // samples in `line`
  std::int32_t start_offset;  // what a fresh line lacks
  std::int32_t partitions;
  bool fresh;  // no block has run since the last reset
  Block<double> line;
  Block<double> spectra;           // of the last `partitions` blocks, for each branch
  Block<double *> spectrum_index;  // for each branch, places in `spectra` from the newest to the oldest
};

void up_fft_polyphase_destroy(void *state);
void up_fft_polyphase_reset(void *state, std::int32_t preroll);
std::int32_t up_fft_polyphase_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound);
std::int32_t up_fft_polyphase_input_samples(const void *state, std::int32_t output_count);
std::int32_t up_fft_polyphase_process(void *state, const void *shared, void *work, const void *in,
                                      std::int32_t in_stride, void *out, std::int32_t out_stride, std::int32_t count,
                                      std::int32_t threads);
void *up_fft_polyphase_alloc_workbuffer(const void *state);

// Block functions: they transform one full line and write its output samples, which they count.
std::int32_t up_fft_polyphase_interpolate(up_fft_polyphase &state, const fft_static_data &shared, double *work,
                                          void *out, std::int32_t out_stride);
std::int32_t up_fft_polyphase_decimate(up_fft_polyphase &state, const fft_static_data &shared, double *work, void *out,
                                       std::int32_t out_stride);

// The sum over the partitions of the products of their spectra, from `filter` on, and those in `slots`: added to `sum`,
// or put there where `begins`.
void up_fft_madd(const RealFft<double> &fft, const double *filter, double *const *slots, std::int32_t partitions,
                 bool begins, double *sum);

}  // namespace auspool
