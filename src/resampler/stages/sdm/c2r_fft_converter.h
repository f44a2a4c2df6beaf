// From a complex signal without negative frequencies to its real signal, at the same rate: the real part less the
// Hilbert transform of the imaginary part, by fast convolution. What the complex signal has at negative frequencies
// cancels.
//
// Every other tap of a Hilbert transformer is 0. So the even outputs come of the even samples alone, the odd of the
// odd, each by a filter of half the taps.
#pragma once

#include <cstdint>

#include "resampler/memory.h"

namespace auspool {

struct c2r_fft_converter {
  std::int32_t fill;  // complex samples in the lines
  std::int32_t taps;
  std::int32_t fft_size;
  std::int32_t log2_size;
  std::int32_t block_offset;  // from one block to the next, in samples
  std::int32_t padding;
  std::uint32_t complex;
  std::int32_t sample_size;
  std::int32_t line_length;
  std::int32_t work_size;
  double *line_real;
  double *line_imag;
  Block<double> storage;
};

void c2r_fft_converter_destroy(void *state);
void c2r_fft_converter_reset(void *state, std::int32_t preroll);
std::int32_t c2r_fft_converter_padding(const void *state);
// Takes the values of a complex run for samples: up to twice what comes out.
std::int32_t c2r_fft_converter_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound);
std::int32_t c2r_fft_converter_input_samples(const void *state, std::int32_t output_count);
std::int32_t c2r_fft_converter_process(void *state, const void *shared, void *work, const void *in,
                                       std::int32_t in_stride, void *out, std::int32_t out_stride, std::int32_t count,
                                       std::int32_t threads);
void *c2r_fft_converter_alloc_workbuffer(const void *state);

}  // namespace auspool
