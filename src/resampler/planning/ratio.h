// Fractions and factors of rates.
#pragma once

#include <cstdint>
#include <optional>

namespace auspool {

struct Fraction {
  std::int32_t up;
  std::int32_t down;
};

// Both rates as whole numbers, reduced; none if one is not a whole number of 31 bits above 0.
std::optional<Fraction> exact_ratio(double input_rate, double output_rate);

// The first convergent of the ratio's continued fraction that is nearer to it than the tolerance; none if 31 bits do
// not suffice.
std::optional<Fraction> approximate_ratio(double ratio, double tolerance);

// The largest divisor of `value` from 2 to `limit`, or 0.
std::int32_t largest_divisor(std::int32_t value, std::int32_t limit);

}  // namespace auspool
