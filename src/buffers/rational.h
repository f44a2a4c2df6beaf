// Fractions that stand for a double.
#pragma once

#include <cstdint>

namespace auspool {

struct Rational {
  std::int64_t num = 0;
  std::int64_t den = 1;
};

// The double itself where its denominator is below `max_den`, otherwise the last convergent of its continued fraction
// below that, or the semi-convergent behind it where that is nearer (its denominator may be `max_den` itself).
// A value that is not finite, or whose numerator or denominator passes 64 bits, gives 0.
// `max_den` is 2 at least.
Rational rational_approximation(double value, std::int64_t max_den);

}  // namespace auspool
