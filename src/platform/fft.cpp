#include "platform/fft.h"

#include <bit>
#include <stdexcept>

#include "platform/fft/kernels.h"
#include "platform/fft/short.h"
#include "platform/fft/tables.h"
#include "platform/vector.h"

namespace auspool {

static_assert(RealFft<float>::kMaxLog2 == fft::kMaxLog2);

template <typename T>
RealFft<T>::RealFft(int log2_size) {
  if (log2_size < 1 || log2_size > kMaxLog2) throw std::invalid_argument("no transform of this size");
  size_ = std::size_t{1} << log2_size;
  if (size_ < fft::kSmallest) {
    short_ = std::make_unique<const fft::Short<T>>(size_);
  } else {
    kernels_ = &fft::best_kernels<T>(size_);
    tables_ = fft::acquire_tables<T>(log2_size, kernels_->lanes);
  }
}

template <typename T>
RealFft<T>::~RealFft() {
  if (tables_) fft::release_tables(tables_);
}

template <typename T>
void RealFft<T>::forward(const T *samples, T *spectrum, T *work) const {
  if (short_) return short_->forward(samples, spectrum);
  kernels_->forward(*tables_, samples, spectrum, work);
}

template <typename T>
void RealFft<T>::inverse(const T *spectrum, T *samples, T *work) const {
  if (short_) return short_->inverse(spectrum, samples);
  kernels_->inverse(*tables_, spectrum, samples, work);
}

template <typename T>
void RealFft<T>::forward_unordered(const T *samples, T *spectrum, T *work) const {
  if (short_) return short_->forward(samples, spectrum);
  kernels_->forward_unordered(*tables_, samples, spectrum, work);
}

template <typename T>
void RealFft<T>::inverse_unordered(const T *spectrum, T *samples, T *work) const {
  if (short_) return short_->inverse(spectrum, samples);
  kernels_->inverse_unordered(*tables_, spectrum, samples, work);
}

template <typename T>
void RealFft<T>::multiply(const T *a, const T *b, T *out) const {
  const std::size_t half = size_ / 2;
  if (short_) return vector::spectrum_multiply<T>({a, a + half}, {b, b + half}, {out, out + half}, half);
  kernels_->multiply(size_, a, b, out);
}

template <typename T>
void RealFft<T>::multiply_add(const T *a, const T *b, T *out) const {
  const std::size_t half = size_ / 2;
  if (short_) return vector::spectrum_multiply_add<T>({a, a + half}, {b, b + half}, {out, out + half}, half);
  kernels_->multiply_add(size_, a, b, out);
}

template <typename T>
void RealFft<T>::multiply_sum(const T *const *a, const T *b, std::size_t count, bool adds, T *out) const {
  if (!short_) return kernels_->multiply_sum(size_, a, b, count, adds, out);
  for (std::size_t k = 0; k < count; ++k, b += size_)
    adds || k > 0 ? multiply_add(a[k], b, out) : multiply(a[k], b, out);
}

template <typename T>
void RealFft<T>::inverse_product(const T *a, const T *b, T *samples, T *work) const {
  if (!short_) return kernels_->inverse_product(*tables_, a, b, samples, work);
  multiply(a, b, samples);
  short_->inverse(samples, samples);
}

template class RealFft<float>;
template class RealFft<double>;

}  // namespace auspool
