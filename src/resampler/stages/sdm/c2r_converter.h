// The direct form of the converter from complex to real (c2r_fft_converter.h): without the latency of blocks, and at a
// cost that grows with the filter.
#pragma once

#include <cstddef>
#include <cstdint>

#include "resampler/memory.h"

namespace auspool {

struct c2r_converter {
  std::int32_t fill;    // complex samples in the lines
  std::int32_t length;  // taps, odd
  std::int32_t delay;   // of the filter
  std::int32_t tail;    // 2 * length - delay
  std::int32_t sample_size;
  Block<std::byte> line_real;  // window_line.h
  Block<std::byte> line_imag;
};

void c2r_converter_destroy(void *state);
void c2r_converter_reset(void *state, std::int32_t preroll);
std::int32_t c2r_converter_padding(const void *state);
std::int32_t c2r_converter_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound);
std::int32_t c2r_converter_input_samples(const void *state, std::int32_t output_count);
template <typename Sample>
std::int32_t c2r_converter_process(void *state, const void *shared, void *work, const void *in, std::int32_t in_stride,
                                   void *out, std::int32_t out_stride, std::int32_t count, std::int32_t threads);

}  // namespace auspool
