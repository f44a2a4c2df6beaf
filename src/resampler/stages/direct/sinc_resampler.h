// A converter by any real ratio, also one that changes: a windowed sinc, read with linear interpolation between its
// steps.
#pragma once

#include <cstdint>

#include "resampler/stages/direct/sinc_table.h"
#include "resampler/stages/stage.h"

namespace auspool {

struct sinc_resampler {
  std::int32_t fill;   // samples in `line`; negative: input samples to skip
  std::int32_t taps;   // of each output
  std::int32_t delay;  // of the filter, in input samples
  std::int32_t tail;   // taps - delay
  double ratio;        // output samples for each input sample
  double position;     // of the next output behind the middle of its window, 0 up to below 1
  std::int32_t sample_size;
  Block<std::byte> line;  // window_line.h
};

void sinc_resampler_destroy(void *state);
void sinc_resampler_reset(void *state, std::int32_t preroll);
std::int32_t sinc_resampler_padding(const void *state);
// Where 1 / ratio adds up to just under a whole number, `process` may give one sample more than is told here.
std::int32_t sinc_resampler_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound);
std::int32_t sinc_resampler_input_samples(const void *state, std::int32_t output_count);
template <typename Sample>
std::int32_t sinc_resampler_process(void *state, const void *shared, void *work, const void *in, std::int32_t in_stride,
                                    void *out, std::int32_t out_stride, std::int32_t count, std::int32_t threads);
void sinc_resampler_set_drift_ratio(void *state, double ratio);
void *sinc_resampler_alloc_workbuffer(const void *state);

// The sum over the taps `first` to `last` of an output `position` behind its window's middle, which is tap 0. `samples`
// begin with the one of tap `first`, the oldest. `position` is not before it.
template <typename Sample>
Sample sinc_dot_product(const Sample *samples, std::int32_t stride, std::int32_t first, std::int32_t last,
                        const sinc_table<Sample> &table, double position);
inline constexpr auto &sinc_dot_productF32 = sinc_dot_product<float>;
inline constexpr auto &sinc_dot_productF64 = sinc_dot_product<double>;

}  // namespace auspool
