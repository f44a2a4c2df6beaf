// Whole-number helpers of the planner and the stages.
#pragma once

#include <bit>
#include <cstdint>
#include <numeric>

namespace auspool {

// Of two numbers that are not negative; gcd(0, x) is x.
constexpr std::int32_t gcd(std::int32_t a, std::int32_t b) {
  return std::gcd(a, b);
}

// The floor of the base-2 logarithm; 0 below 2.
constexpr std::int32_t ilog2N(std::int32_t value) {
  return value < 2 ? 0 : static_cast<std::int32_t>(std::bit_width(static_cast<std::uint32_t>(value))) - 1;
}

// Whether `value` is 2, 4, 8 ...: 1 does not count.
constexpr bool is_powerOf2(std::int32_t value) {
  return value % 2 == 0 && std::has_single_bit(static_cast<std::uint32_t>(value));
}

// The largest count, `most` at the most, for which fits(count) holds; 0 where it does not hold for 1. What fits is
// monotone: if a count fits, so do all below it.
template <typename Fits>
constexpr std::int32_t largest_fitting(std::int32_t most, Fits fits) {
  if (fits(most)) return most;
  std::int32_t fitting = 0;
  while (most - fitting > 1) {
    const std::int32_t middle = fitting + (most - fitting) / 2;
    (fits(middle) ? fitting : most) = middle;
  }
  return fitting;
}

}  // namespace auspool
