// Arithmetic on rows of samples, in the widest vectors that this processor has.
//
// Every template stands for float and double, and for these alone. Strides and hops count samples, may be negative, and
// may be 0 where the text says so. Rows need no alignment. Unless a text says otherwise, outputs may be the same array
// as an input of equal stride, and must not overlap it in any other way.
//
// Nothing here allocates, locks or makes a system call, the first use included: all of it is for the audio thread.
//
// How sums are grouped depends on the processor, so results of different machines may differ in the last bits. On one
// machine the forms of the dot product agree bit for bit: a stride, a place in memory or company in one pass does not
// change a result. Streams that are cut into other blocks rely on it.
#pragma once

#include <cstddef>
#include <type_traits>

namespace auspool::vector {

// The sum of a[i] * b[i], formed in T.
template <typename T>
T dot(const T *a, const T *b, std::size_t count);

// The sum of a[i * a_stride] * b[i]. A stride of -1 reads a row backwards from `a`.
template <typename T>
T dot_strided(const T *a, std::ptrdiff_t a_stride, const T *b, std::size_t count);

// The sum of a[i * a_stride] * b[i] where b[i] = deltas[i] * fraction + values[i]: one row of a table of filters,
// between two of its rows.
template <typename T>
struct Blend {
  const T *values;
  const T *deltas;
  T fraction;
};
template <typename T>
T dot_blended(const T *a, std::ptrdiff_t a_stride, const std::type_identity_t<Blend<T>> &b, std::size_t count);

// Several dot products in one pass: out[k * out_stride] = dot(a + k * a_hop, b + k * b_hop, count), for k below
// `outputs`. A hop of 0 shares its row among all outputs, and the pass loads it once for several of them:
//   b_hop 0   one filter over moving windows: a decimator, or the outputs of equal phase of a resampler
//   a_hop 0   several filters on one window: an interpolator, or a matrix times a vector
// `out` must not overlap the inputs.
template <typename T>
struct DotPass {
  const T *a;
  std::ptrdiff_t a_hop;
  const T *b;
  std::ptrdiff_t b_hop;
  std::size_t count;
  T *out;
  std::ptrdiff_t out_stride;
  std::size_t outputs;
};
template <typename T>
void dot_many(const DotPass<T> &pass);

// The outputs of a polyphase filter in one pass. Output k stands at phase + k * down in steps of 1 / up of a sample:
//   out[k * out_stride] = dot(window + (phase + k * down) / up, rows + (phase + k * down) % up * count, count)
// Outputs of equal phase share their row. `phase` is below `up`, and `out` must not overlap the inputs.
template <typename T>
struct PolyphasePass {
  const T *window;
  const T *rows;  // `up` of them, `count` samples each
  std::size_t count;
  std::size_t up;
  std::size_t down;
  std::size_t phase;
  T *out;
  std::ptrdiff_t out_stride;
  std::size_t outputs;
};
template <typename T>
void dot_polyphase(const PolyphasePass<T> &pass);

// out[i] = a[i] * factor + b[i]
template <typename T>
void multiply_add(const T *a, T factor, const T *b, T *out, std::size_t count);

// out[i] = a[i] * factor
template <typename T>
void scale(const T *a, T factor, T *out, std::size_t count);

// out[i] = a[i] + b[i], out[i] = a[i] - b[i]
template <typename T>
void add(const T *a, const T *b, T *out, std::size_t count);
template <typename T>
void subtract(const T *a, const T *b, T *out, std::size_t count);

// out[i * out_stride] = in[i * in_stride]. An `in_stride` of 0 fills. The arrays must not overlap.
template <typename T>
void copy(const T *in, std::ptrdiff_t in_stride, T *out, std::ptrdiff_t out_stride, std::size_t count);

// The same from one width to the other; narrowing rounds to the nearest.
void widen(const float *in, std::ptrdiff_t in_stride, double *out, std::ptrdiff_t out_stride, std::size_t count);
void narrow(const double *in, std::ptrdiff_t in_stride, float *out, std::ptrdiff_t out_stride, std::size_t count);

// Rows side by side: out[i * count_of_rows + r] = rows[r * row_stride + i]. The arrays must not overlap.
template <typename To>
void interleave(const double *rows, std::ptrdiff_t row_stride, std::size_t count_of_rows, To *out, std::size_t count);

// A run of complex numbers as two rows, their real and their imaginary parts.
template <typename T>
struct Split {
  T *real;
  T *imaginary;

  operator Split<const T>() const requires(!std::is_const_v<T>) { return {real, imaginary}; }
};
template <typename T>
using SplitInput = std::type_identity_t<Split<const T>>;  // takes a Split<T> as well

// out[i] = a[i] * b[i] and out[i] += a[i] * b[i], complex.
template <typename T>
void complex_multiply(SplitInput<T> a, SplitInput<T> b, Split<T> out, std::size_t count);
template <typename T>
void complex_multiply_add(SplitInput<T> a, SplitInput<T> b, Split<T> out, std::size_t count);

// The same on packed spectra of real sequences (fft.h), whose element 0 is two real numbers.
template <typename T>
void spectrum_multiply(SplitInput<T> a, SplitInput<T> b, Split<T> out, std::size_t count);
template <typename T>
void spectrum_multiply_add(SplitInput<T> a, SplitInput<T> b, Split<T> out, std::size_t count);

}  // namespace auspool::vector
