#include <cstdint>

#include "auspool/filter_design.h"

std::int32_t fft_size_for_filter_length(std::int32_t length, std::uint32_t *log2_out, std::int32_t base) {
  constexpr std::int64_t kLargest = std::int64_t{1} << 30;
  std::int64_t size = base > 0 ? base : 2;
  std::uint32_t doublings = 1;
  const bool first_step_doubles_twice = size != 2;
  while (size < length) {
    size *= first_step_doubles_twice && doublings == 1 ? 4 : 2;
    ++doublings;
  }
  if (size - length < length / 2) {
    size *= 2;
    ++doublings;
  }
  if (size > kLargest) return 0;
  if (log2_out) *log2_out = doublings;
  return static_cast<std::int32_t>(size);
}
