// Vectors of samples, and the order of their bytes.
#if defined(AUSPOOL_SAMPLES_BYTES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef AUSPOOL_SAMPLES_BYTES_INL_H_
#undef AUSPOOL_SAMPLES_BYTES_INL_H_
#else
#define AUSPOOL_SAMPLES_BYTES_INL_H_
#endif

#include <cstddef>
#include <cstdint>

#include <hwy/highway.h>

#include "platform/samples.h"

HWY_BEFORE_NAMESPACE();
namespace auspool::samples::HWY_NAMESPACE {
#if !AUSPOOL_PLAIN_TARGET

namespace hn = hwy::HWY_NAMESPACE;

// As many samples a step as the widest vector has of the wider of two types.
template <std::size_t kWiderBytes>
constexpr std::size_t kLanes = hn::MaxLanes(hn::ScalableTag<std::uint8_t>()) / kWiderBytes;
template <typename T, std::size_t kCount>
using Tag = hn::CappedTag<T, kCount>;

// Bytes within each 128 bits, from where the table says.
template <class D, class V = hn::Vec<D> >
HWY_INLINE V shuffled(D d, V v, const std::uint8_t *table) {
  const hn::Repartition<std::uint8_t, D> bytes;
  return hn::BitCast(d, hn::TableLookupBytesOr0(hn::BitCast(bytes, v), hn::LoadDup128(bytes, table)));
}

template <std::size_t kBytes, class D, class V = hn::Vec<D> >
HWY_INLINE V swapped(D d, V v) {
  alignas(16) static constexpr std::uint8_t k2[] = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};
  alignas(16) static constexpr std::uint8_t k4[] = {3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12};
  alignas(16) static constexpr std::uint8_t k8[] = {7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8};
  return shuffled(d, v, kBytes == 2 ? k2 : kBytes == 4 ? k4 : k8);
}

template <Order kOrder, class D, class V = hn::Vec<D> >
HWY_INLINE V ordered(D d, V v) {
  return kOrder == Order::kBig ? swapped<sizeof(hn::TFromD<D>)>(d, v) : v;
}

// Three bytes of every four: within 128 bits by a shuffle of bytes, across them by one of lanes. `kPacks` closes the
// gaps, its opposite opens them, with the sample in the upper three bytes.
template <bool kPacks, Order kOrder, class D, class V = hn::Vec<D> >
HWY_INLINE V between_three_and_four(D d, V v) {
  constexpr bool kBig = kOrder == Order::kBig;
  alignas(16) static constexpr std::uint8_t kPackLittle[] = {0,  1,  2,  4,  5,   6,   8,   9,
                                                             10, 12, 13, 14, 128, 128, 128, 128};
  alignas(16) static constexpr std::uint8_t kPackBig[] = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, 128, 128, 128, 128};
  alignas(16) static constexpr std::uint8_t kOpenLittle[] = {128, 0, 1, 2, 128, 3, 4, 5, 128, 6, 7, 8, 128, 9, 10, 11};
  alignas(16) static constexpr std::uint8_t kOpenBig[] = {128, 2, 1, 0, 128, 5, 4, 3, 128, 8, 7, 6, 128, 11, 10, 9};
  alignas(64) static constexpr std::int32_t kPackLanes[] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, 15, 15, 15};
  alignas(64) static constexpr std::int32_t kPackLanes8[] = {0, 1, 2, 4, 5, 6, 7, 7};
  alignas(64) static constexpr std::int32_t kOpenLanes[] = {0, 1, 2, 0, 3, 4, 5, 0, 6, 7, 8, 0, 9, 10, 11, 0};
  if constexpr (kPacks) {
    const V packed = shuffled(d, v, kBig ? kPackBig : kPackLittle);
    if constexpr (hn::MaxLanes(d) <= 4) return packed;
    return hn::TableLookupLanes(packed, hn::SetTableIndices(d, hn::MaxLanes(d) == 8 ? kPackLanes8 : kPackLanes));
  } else {
    if constexpr (hn::MaxLanes(d) > 4) v = hn::TableLookupLanes(v, hn::SetTableIndices(d, kOpenLanes));
    return shuffled(d, v, kBig ? kOpenBig : kOpenLittle);
  }
}

#endif
}  // namespace auspool::samples::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
