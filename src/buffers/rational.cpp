#include "buffers/rational.h"

#include <cmath>
#include <utility>

#include "base/wide_int.h"

namespace auspool {
namespace {

constexpr int kMaxConvergents = 64;

// The double as d / n, exactly; 0 / 1 where that passes 64 bits.
std::pair<std::int64_t, std::int64_t> exact_fraction(double value) {
  constexpr double kLimit = 0x1p63;
  double d = std::fabs(value);
  if (!(d < kLimit)) return {0, 1};
  std::int64_t n = 1;
  while (d != std::floor(d)) {
    if (n > (std::int64_t{1} << 61)) return {0, 1};
    d *= 2;
    n *= 2;
  }
  return {static_cast<std::int64_t>(d), n};
}

}  // namespace

Rational rational_approximation(double value, std::int64_t max_den) {
  auto [d, n] = exact_fraction(value);
  std::int64_t h_before = 0, h = 1;
  std::int64_t k_before = 1, k = 0;
  for (int pass = 0; pass < kMaxConvergents; ++pass) {
    std::int64_t a = n == 0 ? 0 : d / n;
    if (pass > 0 && a == 0) break;
    const bool too_large = static_cast<Int128>(a) * k + k_before >= max_den;
    if (too_large) {
      const std::int64_t x = (max_den - k_before) / k;
      if (2 * static_cast<Int128>(x) < a) break;
      a = x;
    }
    h_before = std::exchange(h, a * h + h_before);
    k_before = std::exchange(k, a * k + k_before);
    if (too_large) break;
    d = std::exchange(n, d % n);
  }
  return {value < 0 ? -h : h, k};
}

}  // namespace auspool
