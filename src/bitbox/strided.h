// Samples of one channel that lie a stride apart, converted by kernels that work on contiguous rows.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/samples.h"

namespace auspool {

struct Samples {
  std::uint8_t *first;
  std::ptrdiff_t stride_bytes;
  std::ptrdiff_t sample_bytes;  // 2, 3, 4 or 8

  bool contiguous() const { return stride_bytes == sample_bytes; }
  Samples from(std::size_t index) const {
    return {first + static_cast<std::ptrdiff_t>(index) * stride_bytes, stride_bytes, sample_bytes};
  }
};

// `source` and `target` may be the same samples.
void convert_strided(samples::Convert kernel, const Samples &source, const Samples &target, std::size_t count);

// To and from contiguous memory.
void gather(const Samples &from, std::size_t count, void *to);
void scatter(const void *from, const Samples &to, std::size_t count);

}  // namespace auspool
