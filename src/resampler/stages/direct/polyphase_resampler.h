// A rational converter over a polyphase filter; with `down` 1 an interpolator.
#pragma once

#include <cstdint>

#include "resampler/stages/stage.h"

namespace auspool {

struct polyphase_resampler {
  std::int32_t phase;  // of the next output, 0 to up - 1
  std::int32_t fill;   // samples in `line`; negative: input samples to skip
  std::int32_t taps;   // of each phase
  std::int32_t delay;  // of the filter, in input samples
  std::int32_t tail;   // zeroes that bring out the end of the filter
  std::int32_t up;
  std::int32_t down;
  std::int32_t sample_size;
  Block<std::byte> line;  // window_line.h; null when `up` equals `down`
};

void polyphase_resampler_destroy(void *state);
void polyphase_resampler_reset(void *state, std::int32_t preroll);
std::int32_t polyphase_resampler_padding(const void *state);
std::int32_t polyphase_resampler_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound);
std::int32_t polyphase_resampler_input_samples(const void *state, std::int32_t output_count);
template <typename Sample>
std::int32_t polyphase_resampler_process(void *state, const void *shared, void *work, const void *in,
                                         std::int32_t in_stride, void *out, std::int32_t out_stride, std::int32_t count,
                                         std::int32_t threads);

}  // namespace auspool
