// The shaped quantiser: an error-feedback loop that moves the noise of rounding to where it is heard less.
#pragma once

#include <cstddef>
#include <cstdint>

#include "auspool/bitbox.h"

namespace auspool {

// Floats that one channel keeps between calls.
constexpr std::size_t state_size(std::int32_t order) {
  return static_cast<std::size_t>(order) + 1;
}

// Quantise one channel of a shaped dither; a channel that it does not have is left alone.
void dither_noise_shaper_op_f32(bitbox_dither *dither, std::int32_t channel, const void *source,
                                std::int32_t source_stride, void *target, std::int32_t target_stride,
                                std::int32_t frames);
void dither_noise_shaper_op_f64(bitbox_dither *dither, std::int32_t channel, const void *source,
                                std::int32_t source_stride, void *target, std::int32_t target_stride,
                                std::int32_t frames);

}  // namespace auspool
