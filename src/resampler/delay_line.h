// Copies of samples whose size is known at run time, beside the delay lines of auspool/filter_design.h.
#pragma once

#include <cstddef>
#include <cstdint>

#include "auspool/filter_design.h"

namespace auspool {

// Copies `count` samples of 4 or 8 bytes; strides count samples.
void copy_samples(std::int32_t sample_size, const void *source, std::int32_t in_stride, void *destination,
                  std::int32_t out_stride, std::int32_t count);

// The address of the `index`-th sample.
inline const void *sample_at(std::int32_t sample_size, const void *samples, std::ptrdiff_t index) {
  return static_cast<const std::byte *>(samples) + index * sample_size;
}
inline void *sample_at(std::int32_t sample_size, void *samples, std::ptrdiff_t index) {
  return static_cast<std::byte *>(samples) + index * sample_size;
}

}  // namespace auspool
