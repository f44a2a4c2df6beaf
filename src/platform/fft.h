// The Fourier transform of real sequences whose length is a power of two, in float and double.
//
// A spectrum of F points is packed and split: F/2 real parts, then F/2 imaginary parts, of the bins 0 to F/2 - 1. Bins
// 0 and F/2 are real; the imaginary slot of element 0 carries bin F/2.
//
// Scalings: `forward` gives twice the mathematical spectrum, and `inverse` of a mathematical spectrum gives F times the
// sequence, so that inverse(forward(x)) is 2F times x.
//
// For convolution there is an unordered form, whose spectra have an order and packing of their own: multiply two of
// them with `multiply` or `multiply_add` and go back. Its scalings are the same, and it is faster.
//
// A transform is made once, for any number of threads and users: its tables are shared by all transforms of one size
// and sample type. Making one allocates and locks, for microseconds; nothing else here does, so all else is for the
// audio thread.
#pragma once

#include <cstddef>
#include <memory>

namespace auspool {

namespace fft {
template <typename T>
struct Tables;
template <typename T>
struct Kernels;
template <typename T>
class Short;
}  // namespace fft

template <typename T>
class RealFft {
public:
  static constexpr int kMaxLog2 = 26;

  // For F = 2^log2_size points, `log2_size` from 1 to kMaxLog2. Throws std::bad_alloc, and std::invalid_argument for
  // another size.
  explicit RealFft(int log2_size);
  ~RealFft();
  RealFft(const RealFft &) = delete;
  RealFft &operator=(const RealFft &) = delete;

  std::size_t size() const { return size_; }

  // Samples and spectra are F values each. `work` is F values that each running call has for itself; its contents do
  // not matter. No array may overlap another. Any alignment will do; arrays that begin at a multiple of 64 bytes are
  // fastest.
  void forward(const T *samples, T *spectrum, T *work) const;
  void inverse(const T *spectrum, T *samples, T *work) const;

  // Here `work` may be `samples`, which are lost then, and `samples` may be the `spectrum` that they come from.
  void forward_unordered(const T *samples, T *spectrum, T *work) const;
  void inverse_unordered(const T *spectrum, T *samples, T *work) const;
  // out = a * b and out += a * b on unordered spectra; `out` may be `a` or `b`.
  void multiply(const T *a, const T *b, T *out) const;
  void multiply_add(const T *a, const T *b, T *out) const;
  // The sum of a[k] * (b + k * size()) over `count` unordered spectra, added to `out` where `adds`.
  void multiply_sum(const T *const *a, const T *b, std::size_t count, bool adds, T *out) const;
  // inverse_unordered of the product of two spectra, which are kept; neither may be `samples`.
  void inverse_product(const T *a, const T *b, T *samples, T *work) const;

private:
  std::size_t size_;
  const fft::Kernels<T> *kernels_ = nullptr;
  const fft::Tables<T> *tables_ = nullptr;  // null for the sizes of Short
  std::unique_ptr<const fft::Short<T>> short_;
};

extern template class RealFft<float>;
extern template class RealFft<double>;

}  // namespace auspool
