// Transforms of noise beside FFTW's in long double.
#pragma once

#include <fftw3.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <span>
#include <vector>

#include "platform/fft.h"
#include "support/signals.h"

namespace auspool::testing {

template <typename T>
std::vector<T> noise_of(std::size_t count, std::uint32_t seed) {
  const Samples floats = noise(count, seed, 1.0);
  return {floats.begin(), floats.end()};
}

// The mathematical spectrum in the packed form.
template <typename T>
std::vector<long double> oracle_spectrum(std::span<const T> samples) {
  const std::size_t size = samples.size();
  std::vector<long double> in(samples.begin(), samples.end());
  std::vector<long double> bins(size + 2);
  auto *out = reinterpret_cast<fftwl_complex *>(bins.data());
  const fftwl_plan plan = fftwl_plan_dft_r2c_1d(static_cast<int>(size), in.data(), out, FFTW_ESTIMATE);
  fftwl_execute(plan);
  fftwl_destroy_plan(plan);
  std::vector<long double> packed(size);
  for (std::size_t k = 0; k < size / 2; ++k) {
    packed[k] = bins[2 * k];
    packed[size / 2 + k] = bins[2 * k + 1];
  }
  packed[size / 2] = bins[size];
  return packed;
}

// The root mean square of a difference, relative to that of what is expected, in units of T's precision.
template <typename T>
double relative_error(std::span<const T> got, std::span<const long double> expected, long double scale) {
  long double error = 0;
  long double power = 0;
  for (std::size_t i = 0; i < got.size(); ++i) {
    const long double difference = got[i] - scale * expected[i];
    error += difference * difference;
    power += scale * scale * expected[i] * expected[i];
  }
  return static_cast<double>(std::sqrt(error / power)) / double{std::numeric_limits<T>::epsilon()};
}

template <typename T>
struct FftBuffers {
  explicit FftBuffers(std::size_t size) : spectrum(size), back(size), work(size) {}
  std::vector<T> spectrum, back, work;
};

// In units of the precision, for one transform; errors grow with the number of passes.
constexpr double tolerance(int log2_size) {
  return 0.8 + 0.07 * log2_size;
}

template <typename T>
void expect_like_oracle(int log2_size) {
  const RealFft<T> fft(log2_size);
  const auto samples = noise_of<T>(fft.size(), 1);
  const auto exact = oracle_spectrum<T>(samples);
  FftBuffers<T> b(fft.size());

  fft.forward(samples.data(), b.spectrum.data(), b.work.data());
  EXPECT_LT(relative_error<T>(b.spectrum, exact, 2), tolerance(log2_size)) << "forward, " << fft.size() << " points";

  const std::vector<T> spectrum(exact.begin(), exact.end());
  fft.inverse(spectrum.data(), b.back.data(), b.work.data());
  const std::vector<long double> exact_samples(samples.begin(), samples.end());
  const auto scale = static_cast<long double>(fft.size());
  EXPECT_LT(relative_error<T>(b.back, exact_samples, scale), tolerance(log2_size))
      << "inverse, " << fft.size() << " points";

  fft.forward_unordered(samples.data(), b.spectrum.data(), b.work.data());
  fft.inverse_unordered(b.spectrum.data(), b.back.data(), b.work.data());
  EXPECT_LT(relative_error<T>(b.back, exact_samples, 2 * scale), 1.5 * tolerance(log2_size))
      << "there and back, " << fft.size() << " points";
}

// The circular convolution of two sequences, in the unordered form and with the oracle's product of spectra.
template <typename T>
void expect_convolves_like_oracle(int log2_size) {
  const RealFft<T> fft(log2_size);
  const auto a = noise_of<T>(fft.size(), 1);
  const auto b = noise_of<T>(fft.size(), 2);
  FftBuffers<T> x(fft.size());
  FftBuffers<T> y(fft.size());
  fft.forward_unordered(a.data(), x.spectrum.data(), x.work.data());
  fft.forward_unordered(b.data(), y.spectrum.data(), y.work.data());
  fft.multiply(x.spectrum.data(), y.spectrum.data(), x.spectrum.data());
  fft.inverse_unordered(x.spectrum.data(), x.back.data(), x.work.data());

  auto product = oracle_spectrum<T>(a);
  const auto other = oracle_spectrum<T>(b);
  const std::size_t half = fft.size() / 2;
  product[0] *= other[0];
  product[half] *= other[half];
  for (std::size_t k = 1; k < half; ++k) {
    const long double real = product[k] * other[k] - product[half + k] * other[half + k];
    product[half + k] = product[k] * other[half + k] + product[half + k] * other[k];
    product[k] = real;
  }
  const auto convolved = oracle_spectrum<T>(x.back);
  const std::vector<T> got(convolved.begin(), convolved.end());
  const auto scale = 4 * static_cast<long double>(fft.size());
  EXPECT_LT(relative_error<T>(got, product, scale), 2 * tolerance(log2_size)) << fft.size() << " points";
}

}  // namespace auspool::testing
