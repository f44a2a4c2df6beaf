#include "platform/vector.h"

#include "platform/vector/tables.h"

namespace auspool::vector {

template <typename T>
T dot(const T *a, const T *b, std::size_t count) {
  return kernels<DotKernels<T>>().dot(a, b, count);
}
template <typename T>
T dot_strided(const T *a, std::ptrdiff_t a_stride, const T *b, std::size_t count) {
  return kernels<DotKernels<T>>().dot_strided(a, a_stride, b, count);
}
template <typename T>
T dot_blended(const T *a, std::ptrdiff_t a_stride, const std::type_identity_t<Blend<T>> &b, std::size_t count) {
  return kernels<DotKernels<T>>().dot_blended(a, a_stride, b, count);
}
template <typename T>
void dot_many(const DotPass<T> &pass) {
  kernels<DotKernels<T>>().dot_many(pass);
}
template <typename T>
void dot_polyphase(const PolyphasePass<T> &pass) {
  kernels<DotKernels<T>>().dot_polyphase(pass);
}
template <typename T>
void multiply_add(const T *a, T factor, const T *b, T *out, std::size_t count) {
  kernels<RowKernels<T>>().multiply_add(a, factor, b, out, count);
}
template <typename T>
void scale(const T *a, T factor, T *out, std::size_t count) {
  kernels<RowKernels<T>>().scale(a, factor, out, count);
}
template <typename T>
void add(const T *a, const T *b, T *out, std::size_t count) {
  kernels<RowKernels<T>>().add(a, b, out, count);
}
template <typename T>
void subtract(const T *a, const T *b, T *out, std::size_t count) {
  kernels<RowKernels<T>>().subtract(a, b, out, count);
}
template <typename T>
void copy(const T *in, std::ptrdiff_t in_stride, T *out, std::ptrdiff_t out_stride, std::size_t count) {
  kernels<CopyKernel<T, T>>().copy(in, in_stride, out, out_stride, count);
}
void widen(const float *in, std::ptrdiff_t in_stride, double *out, std::ptrdiff_t out_stride, std::size_t count) {
  kernels<CopyKernel<float, double>>().copy(in, in_stride, out, out_stride, count);
}
void narrow(const double *in, std::ptrdiff_t in_stride, float *out, std::ptrdiff_t out_stride, std::size_t count) {
  kernels<CopyKernel<double, float>>().copy(in, in_stride, out, out_stride, count);
}
template <typename To>
void interleave(const double *rows, std::ptrdiff_t row_stride, std::size_t count_of_rows, To *out, std::size_t count) {
  kernels<CopyKernel<double, To>>().interleave(rows, row_stride, count_of_rows, out, count);
}
template void interleave(const double *, std::ptrdiff_t, std::size_t, float *, std::size_t);
template void interleave(const double *, std::ptrdiff_t, std::size_t, double *, std::size_t);
template <typename T>
void complex_multiply(SplitInput<T> a, SplitInput<T> b, Split<T> out, std::size_t count) {
  kernels<RowKernels<T>>().complex_multiply(a, b, out, count);
}
template <typename T>
void complex_multiply_add(SplitInput<T> a, SplitInput<T> b, Split<T> out, std::size_t count) {
  kernels<RowKernels<T>>().complex_multiply_add(a, b, out, count);
}
template <typename T>
void spectrum_multiply(SplitInput<T> a, SplitInput<T> b, Split<T> out, std::size_t count) {
  const T dc = a.real[0] * b.real[0];
  const T nyquist = a.imaginary[0] * b.imaginary[0];
  complex_multiply(a, b, out, count);
  out.real[0] = dc;
  out.imaginary[0] = nyquist;
}
template <typename T>
void spectrum_multiply_add(SplitInput<T> a, SplitInput<T> b, Split<T> out, std::size_t count) {
  const T dc = out.real[0] + a.real[0] * b.real[0];
  const T nyquist = out.imaginary[0] + a.imaginary[0] * b.imaginary[0];
  complex_multiply_add(a, b, out, count);
  out.real[0] = dc;
  out.imaginary[0] = nyquist;
}

#define AUSPOOL_INSTANTIATE(T)                                                             \
  template T dot(const T *, const T *, std::size_t);                                       \
  template T dot_strided(const T *, std::ptrdiff_t, const T *, std::size_t);               \
  template T dot_blended(const T *, std::ptrdiff_t, const Blend<T> &, std::size_t);        \
  template void dot_many(const DotPass<T> &);                                              \
  template void dot_polyphase(const PolyphasePass<T> &);                                   \
  template void multiply_add(const T *, T, const T *, T *, std::size_t);                   \
  template void scale(const T *, T, T *, std::size_t);                                     \
  template void add(const T *, const T *, T *, std::size_t);                               \
  template void subtract(const T *, const T *, T *, std::size_t);                          \
  template void copy(const T *, std::ptrdiff_t, T *, std::ptrdiff_t, std::size_t);         \
  template void complex_multiply(SplitInput<T>, SplitInput<T>, Split<T>, std::size_t);     \
  template void complex_multiply_add(SplitInput<T>, SplitInput<T>, Split<T>, std::size_t); \
  template void spectrum_multiply(SplitInput<T>, SplitInput<T>, Split<T>, std::size_t);    \
  template void spectrum_multiply_add(SplitInput<T>, SplitInput<T>, Split<T>, std::size_t);

AUSPOOL_INSTANTIATE(float)
AUSPOOL_INSTANTIATE(double)

}  // namespace auspool::vector
