// Float samples to the integers of PCM files: toward zero, without dither, held to the range; NaN is 0. Full scale is
// reached a little below 1.0, where the product would not fit.
#pragma once

#include <cstddef>
#include <cstdint>

namespace auspool {

// `to` takes 2 or 3 bytes a sample.
void floats_to_int16_be(const float *from, std::uint8_t *to, std::size_t count);
void floats_to_int16_le(const float *from, std::uint8_t *to, std::size_t count);
void floats_to_int24_be(const float *from, std::uint8_t *to, std::size_t count);
void floats_to_int24_le(const float *from, std::uint8_t *to, std::size_t count);

}  // namespace auspool
