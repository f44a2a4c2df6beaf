// What a filter does to tones, for tests.
#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <numbers>
#include <span>
#include <vector>

namespace auspool::testing {

// The magnitude of a filter's response; `frequency` is a fraction of Nyquist.
inline double magnitude(std::span<const double> taps, double frequency) {
  std::complex<double> sum = 0;
  for (std::size_t i = 0; i < taps.size(); ++i) {
    sum += taps[i] * std::polar(1.0, -std::numbers::pi * frequency * static_cast<double>(i));
  }
  return std::abs(sum);
}

// The largest departure of the magnitude from `wanted` within a band.
inline double departure(std::span<const double> taps, double from, double to, double wanted) {
  double largest = 0;
  const int steps = 10 * static_cast<int>(taps.size());
  for (int i = 0; i <= steps; ++i) {
    const double found = magnitude(taps, from + (to - from) * i / steps);
    largest = std::max(largest, std::abs(found - wanted));
  }
  return largest;
}

// Takes over what a designer of filters allocated; null becomes empty.
inline std::vector<double> taken(double *made, std::size_t length) {
  std::vector<double> taps;
  if (made) taps.assign(made, made + length);
  std::free(made);
  return taps;
}

}  // namespace auspool::testing
