// What vector.h promises, as plain loops. The kernels are tested against these.
#pragma once

#include <cstddef>

#include "platform/vector.h"

namespace auspool::vector::reference {

template <typename T>
T dot_strided(const T *a, std::ptrdiff_t a_stride, const T *b, std::size_t count) {
  T sum = 0;
  for (std::size_t i = 0; i < count; ++i) sum += a[static_cast<std::ptrdiff_t>(i) * a_stride] * b[i];
  return sum;
}

template <typename T>
T dot(const T *a, const T *b, std::size_t count) {
  return dot_strided(a, 1, b, count);
}

template <typename T>
T dot_blended(const T *a, std::ptrdiff_t a_stride, const Blend<T> &b, std::size_t count) {
  T sum = 0;
  for (std::size_t i = 0; i < count; ++i) {
    sum += a[static_cast<std::ptrdiff_t>(i) * a_stride] * (b.deltas[i] * b.fraction + b.values[i]);
  }
  return sum;
}

template <typename T>
void dot_many(const DotPass<T> &pass) {
  for (std::size_t k = 0; k < pass.outputs; ++k) {
    const auto row = static_cast<std::ptrdiff_t>(k);
    pass.out[row * pass.out_stride] = dot_strided(pass.a + row * pass.a_hop, 1, pass.b + row * pass.b_hop, pass.count);
  }
}

template <typename T>
void dot_polyphase(const PolyphasePass<T> &pass) {
  for (std::size_t k = 0; k < pass.outputs; ++k) {
    const std::size_t place = pass.phase + k * pass.down;
    pass.out[static_cast<std::ptrdiff_t>(k) * pass.out_stride] =
        dot(pass.window + place / pass.up, pass.rows + place % pass.up * pass.count, pass.count);
  }
}

template <typename T>
void multiply_add(const T *a, T factor, const T *b, T *out, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) out[i] = a[i] * factor + b[i];
}

template <typename T>
void scale(const T *a, T factor, T *out, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) out[i] = a[i] * factor;
}

template <typename T>
void add(const T *a, const T *b, T *out, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) out[i] = a[i] + b[i];
}

template <typename T>
void subtract(const T *a, const T *b, T *out, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) out[i] = a[i] - b[i];
}

template <typename From, typename To>
void copy(const From *in, std::ptrdiff_t in_stride, To *out, std::ptrdiff_t out_stride, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const auto at = static_cast<std::ptrdiff_t>(i);
    out[at * out_stride] = static_cast<To>(in[at * in_stride]);
  }
}

template <typename From, typename To>
void interleave(const From *rows, std::ptrdiff_t row_stride, std::size_t count_of_rows, To *out, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t r = 0; r < count_of_rows; ++r) {
      *out++ = static_cast<To>(rows[static_cast<std::ptrdiff_t>(r) * row_stride + static_cast<std::ptrdiff_t>(i)]);
    }
  }
}

template <typename T>
void complex_multiply(SplitInput<T> a, SplitInput<T> b, Split<T> out, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const T real = a.real[i] * b.real[i] - a.imaginary[i] * b.imaginary[i];
    out.imaginary[i] = a.real[i] * b.imaginary[i] + a.imaginary[i] * b.real[i];
    out.real[i] = real;
  }
}

template <typename T>
void complex_multiply_add(SplitInput<T> a, SplitInput<T> b, Split<T> out, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const T real = a.real[i] * b.real[i] - a.imaginary[i] * b.imaginary[i];
    out.imaginary[i] += a.real[i] * b.imaginary[i] + a.imaginary[i] * b.real[i];
    out.real[i] += real;
  }
}

}  // namespace auspool::vector::reference
