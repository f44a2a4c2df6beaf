// A direct filter that computes every `down`-th output only.
#pragma once

#include <cstdint>

#include "resampler/stages/stage.h"

namespace auspool {

struct polyphase_decimator {
  std::int32_t fill;    // samples in `line`; negative: input samples to skip
  std::int32_t length;  // taps
  std::int32_t delay;   // of the filter, in input samples
  std::int32_t tail;    // length - delay
  std::int32_t down;
  std::int32_t sample_size;
  Block<std::byte> line;  // window_line.h
};

void polyphase_decimator_destroy(void *state);
void polyphase_decimator_reset(void *state, std::int32_t preroll);
std::int32_t polyphase_decimator_padding(const void *state);
std::int32_t polyphase_decimator_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound);
std::int32_t polyphase_decimator_input_samples(const void *state, std::int32_t output_count);
template <typename Sample>
std::int32_t polyphase_decimator_process(void *state, const void *shared, void *work, const void *in,
                                         std::int32_t in_stride, void *out, std::int32_t out_stride, std::int32_t count,
                                         std::int32_t threads);

}  // namespace auspool
