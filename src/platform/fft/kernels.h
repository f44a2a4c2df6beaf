// The transforms of one processor target. Sizes from kSmallest on; what each does is told in platform/fft.h.
#pragma once

#include <cstddef>

#include "platform/fft/tables.h"

namespace auspool::fft {

constexpr std::size_t kSmallest = 32;

template <typename T>
struct Kernels {
  using Transform = void (*)(const Tables<T> &tables, const T *in, T *out, T *work);
  using Product = void (*)(std::size_t size, const T *a, const T *b, T *out);

  std::size_t lanes;
  Transform forward, inverse, forward_unordered, inverse_unordered;
  Product multiply, multiply_add;
  void (*multiply_sum)(std::size_t size, const T *const *a, const T *b, std::size_t count, bool adds, T *out);
  void (*inverse_product)(const Tables<T> &tables, const T *a, const T *b, T *out, T *work);
};

// The best for this processor and for `size` points: short transforms have no use for wide vectors.
template <typename T>
const Kernels<T> &best_kernels(std::size_t size);

}  // namespace auspool::fft
