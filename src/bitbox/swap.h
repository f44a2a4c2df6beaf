// The byte order of samples, reversed in place. A stride counts samples.
#pragma once

#include <cstdint>

namespace auspool {

void swap32(std::uint8_t *data, std::int32_t stride, std::uint32_t frames);
void swap64(std::uint8_t *data, std::int32_t stride, std::uint32_t frames);

}  // namespace auspool
