// Dither without shaping: noise is added, and the rounding is left to the conversion that follows.
#pragma once

#include <cstdint>

#include "auspool/bitbox.h"

namespace auspool {

void add_noise_f32(bitbox_dither *dither, const void *source, std::int32_t source_stride, void *target,
                   std::int32_t target_stride, std::int32_t frames);
void add_noise_f64(bitbox_dither *dither, const void *source, std::int32_t source_stride, void *target,
                   std::int32_t target_stride, std::int32_t frames);

}  // namespace auspool
