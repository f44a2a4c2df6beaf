// Transforms of 2 to 16 points, straight from their definition. Ordered and unordered spectra are the same.
#pragma once

#include <algorithm>
#include <complex>
#include <cstddef>

#include "platform/fft/roots.h"

namespace auspool::fft {

template <typename T>
class Short {
public:
  static constexpr std::size_t kLongest = 16;

  explicit Short(std::size_t size) : size_(size) {
    const Roots exact(kLongest);
    for (std::size_t k = 0; k < size; ++k) roots_[k] = std::complex<T>(exact(k * (kLongest / size)));
  }

  void forward(const T *x, T *spectrum) const {
    const std::size_t half = size_ / 2;
    for (std::size_t k = 0; k <= half; ++k) {
      std::complex<T> sum = 0;
      for (std::size_t n = 0; n < size_; ++n) sum += x[n] * root(n * k);
      if (k < half) spectrum[k] = 2 * sum.real();
      if (k > 0) spectrum[k == half ? half : half + k] = 2 * (k == half ? sum.real() : sum.imag());
    }
  }

  // `x` may be the spectrum.
  void inverse(const T *in, T *x) const {
    T spectrum[kLongest];
    std::copy_n(in, size_, spectrum);
    const std::size_t half = size_ / 2;
    for (std::size_t n = 0; n < size_; ++n) {
      T sum = spectrum[0] + spectrum[half] * root(n * half).real();
      for (std::size_t k = 1; k < half; ++k) {
        sum += 2 * (spectrum[k] * root(n * k).real() + spectrum[half + k] * root(n * k).imag());
      }
      x[n] = sum;
    }
  }

private:
  std::complex<T> root(std::size_t k) const { return roots_[k & (size_ - 1)]; }

  std::size_t size_;
  std::complex<T> roots_[kLongest] = {};
};

}  // namespace auspool::fft
