#include "resampler/design/windows.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>

#include "auspool/filter_design.h"

namespace {

constexpr double kPi = std::numbers::pi;

// Multiplies the taps `i` and its mirror image.
void scale_pair(double *taps, std::int32_t length, std::int32_t i, double factor) {
  taps[i] *= factor;
  taps[length - 1 - i] *= factor;
}

// 1 / (2 k)^2 for k from 1 on: dividing would take most of a design's time. More terms than these no window needs.
constexpr auto kInverseSquares = [] {
  std::array<double, 64> inverses{};
  for (std::size_t k = 1; k <= inverses.size(); ++k) inverses[k - 1] = 1.0 / static_cast<double>(4 * k * k);
  return inverses;
}();

constexpr double inverse_square(std::size_t k) {
  return k <= kInverseSquares.size() ? kInverseSquares[k - 1]
                                     : 1.0 / (4.0 * static_cast<double>(k) * static_cast<double>(k));
}

// The modified Bessel function of order zero, by its series, to 11 digits.
double bessel_i0(double x) {
  const double square = x * x;
  double sum = 1.0;
  double term = 1.0;
  std::size_t k = 0;
  do {
    term *= square * inverse_square(++k);
    sum += term;
  } while (term > sum * 1e-11);
  return sum;
}

}  // namespace

void apply_hamming_window_with_gain(double *taps, std::int32_t length, double gain) {
  if (length < 1) return;
  const std::int32_t half = length / 2;
  for (std::int32_t i = 0; i < half; ++i) {
    scale_pair(taps, length, i, 0.5425 * gain - std::cos(i * 2.0 * kPi / (length - 1)) * (0.4575 * gain));
  }
  if (length % 2 != 0) taps[half] *= gain;
}

void apply_blackman_window_with_gain(double *taps, std::int32_t length, double gain) {
  if (length < 1) return;
  const std::int32_t half = length / 2;
  for (std::int32_t i = 1; i < half; ++i) {
    const double turn = 2.0 * kPi * i / (length - 1);
    scale_pair(taps, length, i, 0.42 * gain - 0.5 * gain * std::cos(turn) + 0.08 * gain * std::cos(2.0 * turn));
  }
  if (length % 2 != 0) taps[half] *= gain;
  taps[0] = 0.0;
  taps[length - 1] = 0.0;
}

void apply_kaiser_window_with_gain(double *taps, std::int32_t length, double beta, double gain) {
  if (length < 1) return;
  const double scale = gain / bessel_i0(beta);
  const double middle = (length - 1) * 0.5;
  const double inverse_square = 1.0 / (middle * middle);
  const auto window = [&](std::int32_t i) {
    // The end tap's argument is 0 but for rounding, which may leave it below.
    const double squared = 1.0 - (i - middle) * (i - middle) * inverse_square;
    return bessel_i0(beta * std::sqrt(squared > 0.0 ? squared : 0.0)) * scale;
  };
  const std::int32_t half = (length - 1) / 2;
  for (std::int32_t i = 0; i < half; ++i) scale_pair(taps, length, i, window(i));
  if (length % 2 != 0) {
    taps[half] *= gain;
  } else {
    scale_pair(taps, length, half, window(half));
  }
}

void auspool::apply_window(double *taps, std::int32_t length, std::int32_t window, double gain, double beta) {
  switch (window) {
  case AU_WINDOW_HAMMING:
    return apply_hamming_window_with_gain(taps, length, gain);
  case AU_WINDOW_BLACKMAN:
    return apply_blackman_window_with_gain(taps, length, gain);
  case AU_WINDOW_KAISER:
    return apply_kaiser_window_with_gain(taps, length, beta, gain);
  default:
    return;
  }
}
