// Arithmetic element by element. What is left after the last whole vector is done one by one with the same operations,
// so that an element's result does not depend on where in the row it stands.
#include "platform/vector/tables.h"
#include "platform/vector/targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/vector/rows.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.
#include <hwy/highway.h>

#include "platform/vector/reference.h"

HWY_BEFORE_NAMESPACE();
namespace auspool::vector::HWY_NAMESPACE {
#if AUSPOOL_PLAIN_TARGET

using reference::add;
using reference::complex_multiply;
using reference::complex_multiply_add;
using reference::multiply_add;
using reference::scale;
using reference::subtract;

#else

namespace hn = hwy::HWY_NAMESPACE;

// Runs an operation over a row: in whole vectors, then in vectors of one lane.
template <typename T, class Operation>
HWY_INLINE void run(const Operation &operation, std::size_t count) {
  const hn::ScalableTag<T> whole;
  const hn::CappedTag<T, 1> single;
  std::size_t i = 0;
  for (; i + hn::Lanes(whole) <= count; i += hn::Lanes(whole)) operation(whole, i);
  for (; i < count; ++i) operation(single, i);
}

template <typename T>
struct MultiplyAdd {
  const T *a;
  T factor;
  const T *b;
  T *out;

  template <class D>
  HWY_INLINE void operator()(D d, std::size_t i) const {
    hn::StoreU(hn::MulAdd(hn::LoadU(d, a + i), hn::Set(d, factor), hn::LoadU(d, b + i)), d, out + i);
  }
};

template <typename T>
struct Scale {
  const T *a;
  T factor;
  T *out;

  template <class D>
  HWY_INLINE void operator()(D d, std::size_t i) const {
    hn::StoreU(hn::Mul(hn::LoadU(d, a + i), hn::Set(d, factor)), d, out + i);
  }
};

template <typename T>
struct Add {
  const T *a;
  const T *b;
  T *out;

  template <class D>
  HWY_INLINE void operator()(D d, std::size_t i) const {
    hn::StoreU(hn::Add(hn::LoadU(d, a + i), hn::LoadU(d, b + i)), d, out + i);
  }
};

template <typename T>
struct Subtract {
  const T *a;
  const T *b;
  T *out;

  template <class D>
  HWY_INLINE void operator()(D d, std::size_t i) const {
    hn::StoreU(hn::Sub(hn::LoadU(d, a + i), hn::LoadU(d, b + i)), d, out + i);
  }
};

// `kAdd`: onto what `out` holds.
template <typename T, bool kAdd>
struct ComplexMultiply {
  Split<const T> a;
  Split<const T> b;
  Split<T> out;

  template <class D>
  HWY_INLINE void operator()(D d, std::size_t i) const {
    const auto ar = hn::LoadU(d, a.real + i);
    const auto ai = hn::LoadU(d, a.imaginary + i);
    const auto br = hn::LoadU(d, b.real + i);
    const auto bi = hn::LoadU(d, b.imaginary + i);
    auto real = hn::Mul(ar, br);
    auto imaginary = hn::Mul(ar, bi);
    if constexpr (kAdd) {
      real = hn::MulAdd(ar, br, hn::LoadU(d, out.real + i));
      imaginary = hn::MulAdd(ar, bi, hn::LoadU(d, out.imaginary + i));
    }
    hn::StoreU(hn::NegMulAdd(ai, bi, real), d, out.real + i);
    hn::StoreU(hn::MulAdd(ai, br, imaginary), d, out.imaginary + i);
  }
};

template <typename T>
void multiply_add(const T *a, T factor, const T *b, T *out, std::size_t count) {
  run<T>(MultiplyAdd<T>{a, factor, b, out}, count);
}
template <typename T>
void scale(const T *a, T factor, T *out, std::size_t count) {
  run<T>(Scale<T>{a, factor, out}, count);
}
template <typename T>
void add(const T *a, const T *b, T *out, std::size_t count) {
  run<T>(Add<T>{a, b, out}, count);
}
template <typename T>
void subtract(const T *a, const T *b, T *out, std::size_t count) {
  run<T>(Subtract<T>{a, b, out}, count);
}
template <typename T>
void complex_multiply(SplitInput<T> a, SplitInput<T> b, Split<T> out, std::size_t count) {
  run<T>(ComplexMultiply<T, false>{a, b, out}, count);
}
template <typename T>
void complex_multiply_add(SplitInput<T> a, SplitInput<T> b, Split<T> out, std::size_t count) {
  run<T>(ComplexMultiply<T, true>{a, b, out}, count);
}

#endif

template <typename T>
HWY_INLINE const RowKernels<T> *table() {
  static constexpr RowKernels<T> kTable = {multiply_add<T>,        scale<T>, add<T>, subtract<T>, complex_multiply<T>,
                                           complex_multiply_add<T>};
  return &kTable;
}
const RowKernels<float> *row_table_float() {
  return table<float>();
}
const RowKernels<double> *row_table_double() {
  return table<double>();
}

}  // namespace auspool::vector::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace auspool::vector {

HWY_EXPORT(row_table_float);
HWY_EXPORT(row_table_double);

template <>
const RowKernels<float> *best_table() {
  return HWY_DYNAMIC_DISPATCH(row_table_float)();
}
template <>
const RowKernels<double> *best_table() {
  return HWY_DYNAMIC_DISPATCH(row_table_double)();
}

}  // namespace auspool::vector
#endif
