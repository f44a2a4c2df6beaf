#include "resampler/planning/ratio.h"

#include <cmath>
#include <limits>

#include "resampler/whole_numbers.h"

namespace auspool {
namespace {

constexpr double kMaxWhole = std::numeric_limits<std::int32_t>::max();

bool is_whole(double rate) {
  return rate > 0 && rate <= kMaxWhole && rate == std::floor(rate);
}

}  // namespace

std::optional<Fraction> exact_ratio(double input_rate, double output_rate) {
  if (!is_whole(input_rate) || !is_whole(output_rate)) return std::nullopt;
  const auto input = static_cast<std::int32_t>(input_rate);
  const auto output = static_cast<std::int32_t>(output_rate);
  const std::int32_t common = gcd(input, output);
  return Fraction{output / common, input / common};
}

std::optional<Fraction> approximate_ratio(double ratio, double tolerance) {
  double x = ratio;
  double p = 0, p_before = 1;
  double q = 1, q_before = 0;
  while (x > 0) {
    const double a = std::floor(1 / x);
    const double p_next = p * a + p_before;
    const double q_next = q * a + q_before;
    if (!(p_next <= kMaxWhole && q_next <= kMaxWhole)) break;
    p_before = p, p = p_next;
    q_before = q, q = q_next;
    if (std::fabs(p / q - ratio) < tolerance)
      return Fraction{static_cast<std::int32_t>(p), static_cast<std::int32_t>(q)};
    x = 1 / x - a;
  }
  return std::nullopt;
}

std::int32_t largest_divisor(std::int32_t value, std::int32_t limit) {
  if (limit >= value) return value >= 2 ? value : 0;
  std::int32_t best = 0;
  for (std::int32_t d = 1; d <= value / d; ++d) {
    if (value % d != 0) continue;
    const std::int32_t other = value / d;
    if (other <= limit) return other;  // the cofactors come largest first, and are larger than the divisors
    if (d >= 2 && d <= limit) best = d;
  }
  return best;
}

}  // namespace auspool
