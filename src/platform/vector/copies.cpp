// Copies between strides and widths. The strides that audio has are done in vectors: 1, 2 on the way in (a channel of
// an interleaved pair), and -1 (a row read backwards). A stride of 2 on the way out is not: the samples between belong
// to another channel and must not be written.
#include <type_traits>

#include "platform/vector/tables.h"
#include "platform/vector/targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/vector/copies.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.
#include <hwy/highway.h>

#include "platform/vector/reference.h"

HWY_BEFORE_NAMESPACE();
namespace auspool::vector::HWY_NAMESPACE {
#if AUSPOOL_PLAIN_TARGET

using reference::copy;
using reference::interleave;

#else

namespace hn = hwy::HWY_NAMESPACE;

// Vectors of as many lanes as the wider of the two types has.
template <typename From, typename To>
constexpr std::size_t kLanes = hn::MaxLanes(hn::ScalableTag<double>()) * (sizeof(From) + sizeof(To) == 8 ? 2 : 1);
template <typename T, std::size_t kCount>
using Tag = hn::CappedTag<T, kCount>;

template <class D, class V>
HWY_INLINE hn::Vec<D> convert(D d, V v) {
  if constexpr (std::is_same_v<V, hn::Vec<D> >) {
    return v;
  } else if constexpr (sizeof(hn::TFromD<D>) == 8) {
    return hn::PromoteTo(d, v);
  } else {
    return hn::DemoteTo(d, v);
  }
}

// One vector of input samples that lie `kStride` apart.
template <std::ptrdiff_t kStride, class D>
HWY_INLINE hn::Vec<D> load(D d, const hn::TFromD<D> *in) {
  if constexpr (kStride == 1) {
    return hn::LoadU(d, in);
  } else if constexpr (kStride == -1) {
    return hn::Reverse(d, hn::LoadU(d, in - (hn::Lanes(d) - 1)));
  } else {
    hn::Vec<D> even;
    hn::Vec<D> odd;
    hn::LoadInterleaved2(d, in, even, odd);
    return even;
  }
}

template <std::ptrdiff_t kStride, typename From, typename To>
HWY_INLINE void copy_to_row(const From *in, To *out, std::size_t count) {
  const Tag<From, kLanes<From, To> > from;
  const Tag<To, kLanes<From, To> > to;
  // A vector of interleaved samples ends one sample behind the last that is wanted, which may not be there.
  const std::size_t safe = kStride == 2 && count > 0 ? count - 1 : count;
  std::size_t i = 0;
  for (; i + hn::Lanes(from) <= safe; i += hn::Lanes(from)) {
    hn::StoreU(convert(to, load<kStride>(from, in + static_cast<std::ptrdiff_t>(i) * kStride)), to, out + i);
  }
  reference::copy(in + static_cast<std::ptrdiff_t>(i) * kStride, kStride, out + i, 1, count - i);
}

template <typename From, typename To>
void copy(const From *in, std::ptrdiff_t in_stride, To *out, std::ptrdiff_t out_stride, std::size_t count) {
  if (out_stride != 1) return reference::copy(in, in_stride, out, out_stride, count);
  switch (in_stride) {
  case 1:
    return copy_to_row<1>(in, out, count);
  case 2:
    return copy_to_row<2>(in, out, count);
  case -1:
    return copy_to_row<-1>(in, out, count);
  default:
    return reference::copy(in, in_stride, out, 1, count);
  }
}

template <class D>
HWY_INLINE void store_interleaved(D d, const hn::Vec<D> (&v)[2], hn::TFromD<D> *out) {
  hn::StoreInterleaved2(v[0], v[1], d, out);
}
template <class D>
HWY_INLINE void store_interleaved(D d, const hn::Vec<D> (&v)[3], hn::TFromD<D> *out) {
  hn::StoreInterleaved3(v[0], v[1], v[2], d, out);
}
template <class D>
HWY_INLINE void store_interleaved(D d, const hn::Vec<D> (&v)[4], hn::TFromD<D> *out) {
  hn::StoreInterleaved4(v[0], v[1], v[2], v[3], d, out);
}

template <std::size_t kRows, typename From, typename To>
void interleave_rows(const From *rows, std::ptrdiff_t row_stride, To *out, std::size_t count) {
  const Tag<From, kLanes<From, To> > from;
  const Tag<To, kLanes<From, To> > to;
  std::size_t i = 0;
  for (; i + hn::Lanes(from) <= count; i += hn::Lanes(from)) {
    hn::Vec<decltype(to)> v[kRows];
    for (std::size_t r = 0; r < kRows; ++r) {
      v[r] = convert(to, hn::LoadU(from, rows + static_cast<std::ptrdiff_t>(r) * row_stride + i));
    }
    store_interleaved(to, v, out + i * kRows);
  }
  reference::interleave(rows + i, row_stride, kRows, out + i * kRows, count - i);
}

template <typename From, typename To>
void interleave(const From *rows, std::ptrdiff_t row_stride, std::size_t count_of_rows, To *out, std::size_t count) {
  switch (count_of_rows) {
  case 1:
    return copy(rows, 1, out, 1, count);
  case 2:
    return interleave_rows<2>(rows, row_stride, out, count);
  case 3:
    return interleave_rows<3>(rows, row_stride, out, count);
  case 4:
    return interleave_rows<4>(rows, row_stride, out, count);
  default:
    return reference::interleave(rows, row_stride, count_of_rows, out, count);
  }
}

#endif

template <typename From, typename To>
HWY_INLINE const CopyKernel<From, To> *table() {
  static constexpr CopyKernel<From, To> kTable = {copy<From, To>, interleave<From, To>};
  return &kTable;
}
const CopyKernel<float, float> *copy_table_float() {
  return table<float, float>();
}
const CopyKernel<double, double> *copy_table_double() {
  return table<double, double>();
}
const CopyKernel<float, double> *widen_table() {
  return table<float, double>();
}
const CopyKernel<double, float> *narrow_table() {
  return table<double, float>();
}

}  // namespace auspool::vector::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace auspool::vector {

HWY_EXPORT(copy_table_float);
HWY_EXPORT(copy_table_double);
HWY_EXPORT(widen_table);
HWY_EXPORT(narrow_table);

template <>
const CopyKernel<float, float> *best_table() {
  return HWY_DYNAMIC_DISPATCH(copy_table_float)();
}
template <>
const CopyKernel<double, double> *best_table() {
  return HWY_DYNAMIC_DISPATCH(copy_table_double)();
}
template <>
const CopyKernel<float, double> *best_table() {
  return HWY_DYNAMIC_DISPATCH(widen_table)();
}
template <>
const CopyKernel<double, float> *best_table() {
  return HWY_DYNAMIC_DISPATCH(narrow_table)();
}

}  // namespace auspool::vector
#endif
