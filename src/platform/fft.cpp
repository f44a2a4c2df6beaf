#include "platform/fft.h"

#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/vector.h"

namespace auspool {

// The roots exp(-2 pi i k / F), k below F / 2.
template <typename T>
struct RealFft<T>::Tables {
  std::vector<std::complex<T>> roots;
};

namespace {

template <typename T>
void reorder(std::complex<T> *values, std::size_t count) {
  for (std::size_t i = 1, j = 0; i < count; ++i) {
    std::size_t bit = count >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) std::swap(values[i], values[j]);
  }
}

// A complex transform of `count` values in place, radix 2. `roots` are those of 2 * count points.
template <typename T>
void transform(std::complex<T> *values, std::size_t count, const std::complex<T> *roots, bool forward) {
  reorder(values, count);
  for (std::size_t half = 1; half < count; half *= 2) {
    for (std::size_t start = 0; start < count; start += 2 * half) {
      for (std::size_t k = 0; k < half; ++k) {
        const auto root = roots[k * (count / half)];
        const auto turned = values[start + half + k] * (forward ? root : std::conj(root));
        values[start + half + k] = values[start + k] - turned;
        values[start + k] += turned;
      }
    }
  }
}

}  // namespace

template <typename T>
RealFft<T>::RealFft(int log2_size) {
  if (log2_size < 1 || log2_size > kMaxLog2) throw std::invalid_argument("no transform of this size");
  size_ = std::size_t{1} << log2_size;
  auto tables = std::make_unique<Tables>();
  tables->roots.resize(size_ / 2);
  for (std::size_t k = 0; k < size_ / 2; ++k) {
    const double angle = -2 * std::numbers::pi * static_cast<double>(k) / static_cast<double>(size_);
    tables->roots[k] = {static_cast<T>(std::cos(angle)), static_cast<T>(std::sin(angle))};
  }
  tables_ = tables.release();
}

template <typename T>
RealFft<T>::~RealFft() {
  delete tables_;
}

// The even and odd samples as one complex sequence, then the spectra of both untangled.
template <typename T>
void RealFft<T>::forward(const T *samples, T *spectrum, T *work) const {
  const std::size_t half = size_ / 2;
  auto *z = reinterpret_cast<std::complex<T> *>(work);
  for (std::size_t i = 0; i < half; ++i) z[i] = {samples[2 * i], samples[2 * i + 1]};
  transform(z, half, tables_->roots.data(), true);
  spectrum[0] = 2 * (z[0].real() + z[0].imag());
  spectrum[half] = 2 * (z[0].real() - z[0].imag());
  for (std::size_t k = 1; k < half; ++k) {
    const auto mirrored = std::conj(z[half - k]);
    const auto odd = (z[k] - mirrored) * tables_->roots[k];
    const auto x = z[k] + mirrored + std::complex<T>(odd.imag(), -odd.real());
    spectrum[k] = x.real();
    spectrum[half + k] = x.imag();
  }
}

template <typename T>
void RealFft<T>::inverse(const T *spectrum, T *samples, T *work) const {
  const std::size_t half = size_ / 2;
  auto *z = reinterpret_cast<std::complex<T> *>(work);
  z[0] = {spectrum[0] + spectrum[half], spectrum[0] - spectrum[half]};
  for (std::size_t k = 1; k < half; ++k) {
    const std::complex<T> x(spectrum[k], spectrum[half + k]);
    const std::complex<T> mirrored(spectrum[half - k], -spectrum[size_ - k]);
    const auto odd = (x - mirrored) * std::conj(tables_->roots[k]);
    z[k] = x + mirrored + std::complex<T>(-odd.imag(), odd.real());
  }
  transform(z, half, tables_->roots.data(), false);
  for (std::size_t i = 0; i < half; ++i) {
    samples[2 * i] = z[i].real();
    samples[2 * i + 1] = z[i].imag();
  }
}

template <typename T>
void RealFft<T>::forward_unordered(const T *samples, T *spectrum, T *work) const {
  forward(samples, spectrum, work);
}

template <typename T>
void RealFft<T>::inverse_unordered(const T *spectrum, T *samples, T *work) const {
  inverse(spectrum, samples, work);
}

template <typename T>
void RealFft<T>::multiply(const T *a, const T *b, T *out) const {
  const std::size_t half = size_ / 2;
  vector::spectrum_multiply<T>({a, a + half}, {b, b + half}, {out, out + half}, half);
}

template <typename T>
void RealFft<T>::multiply_add(const T *a, const T *b, T *out) const {
  const std::size_t half = size_ / 2;
  vector::spectrum_multiply_add<T>({a, a + half}, {b, b + half}, {out, out + half}, half);
}

template class RealFft<float>;
template class RealFft<double>;

}  // namespace auspool
