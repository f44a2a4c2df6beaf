// From floats to integers, a vector at a time.
#if defined(AUSPOOL_SAMPLES_QUANTIZE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef AUSPOOL_SAMPLES_QUANTIZE_INL_H_
#undef AUSPOOL_SAMPLES_QUANTIZE_INL_H_
#else
#define AUSPOOL_SAMPLES_QUANTIZE_INL_H_
#endif

#include <cstddef>
#include <cstdint>

#include <hwy/highway.h>

#include "platform/samples/bytes-inl.h"
#include "platform/samples/reference.h"

HWY_BEFORE_NAMESPACE();
namespace auspool::samples::HWY_NAMESPACE {
#if !AUSPOOL_PLAIN_TARGET

// 32-bit integers of a vector of 32-bit floats. NearestInt holds what is beyond the range to the extreme codes, and so
// does the narrowing to 16 bits; a range of 16 or 24 bits in more memory needs the limits.
template <Integer kTo, class D, class V = hn::Vec<D> >
HWY_INLINE hn::Vec<hn::RebindToSigned<D> > quantized_floats(D d, V x) {
  const hn::RebindToSigned<D> integers;
  const V number = hn::IfThenElseZero(hn::Eq(x, x), x);
  const V scale = hn::Set(d, kScale<float, kTo>);
  if constexpr (kTo == Integer::k32) {
    const auto one = hn::RebindMask(integers, hn::Eq(x, hn::Set(d, 1.0f)));
    const auto nearest = hn::NearestInt(hn::Mul(number, scale));
    return hn::IfThenElse(one, hn::Set(integers, -kHighest<kTo> - 1), nearest);
  } else if constexpr (kTo == Integer::k16) {
    return hn::NearestInt(hn::Mul(number, scale));
  } else {
    const V held = hn::Min(hn::Max(number, hn::Set(d, -1.0f)), hn::Set(d, kLimit<float, kTo>));
    return hn::NearestInt(hn::Mul(held, scale));
  }
}

// Of 64-bit floats: a number to which 1.5 * 2^52 is added has its nearest integer in the lowest bits.
template <Integer kTo, class D, class V = hn::Vec<D> >
HWY_INLINE hn::Vec<hn::Rebind<std::int32_t, D> > quantized_doubles(D d, V x) {
  const V number = hn::IfThenElseZero(hn::Eq(x, x), x);
  const V held = hn::Min(hn::Max(number, hn::Set(d, -1.0)), hn::Set(d, kLimit<double, kTo>));
  const V sum = hn::Add(hn::Mul(held, hn::Set(d, kScale<double, kTo>)), hn::Set(d, 0x1.8p52));
  const hn::RebindToUnsigned<D> bits;
  const hn::Rebind<std::uint32_t, D> low;
  return hn::BitCast(hn::Rebind<std::int32_t, D>(), hn::TruncateTo(low, hn::BitCast(bits, sum)));
}

// 32-bit integers into what `kTo` takes in memory.
template <Integer kTo, Order kOrder, class D, class V = hn::Vec<D> >
HWY_INLINE void store_integers(D integers, V values, std::uint8_t *to) {
  if constexpr (bytes_of(kTo) == 2) {
    const hn::Rebind<std::int16_t, D> shorts;
    hn::StoreU(ordered<kOrder>(shorts, hn::DemoteTo(shorts, values)), shorts, reinterpret_cast<std::int16_t *>(to));
  } else {
    if constexpr (bytes_of(kTo) == 3) {
      values = between_three_and_four<true, kOrder>(integers, values);
    } else {
      values = ordered<kOrder>(integers, values);
    }
    hn::StoreU(values, integers, reinterpret_cast<std::int32_t *>(to));
  }
}

// What NearestInt gives without its care for what is beyond the range: there x86 has the lowest integer.
template <class D, class V = hn::Vec<D> >
HWY_INLINE hn::Vec<hn::RebindToSigned<D> > nearest_within(D, V x) {
#if HWY_TARGET == HWY_AVX3
  return hn::Vec<hn::RebindToSigned<D> >{_mm512_cvtps_epi32(x.raw)};
#elif HWY_TARGET == HWY_AVX2
  return hn::Vec<hn::RebindToSigned<D> >{_mm256_cvtps_epi32(x.raw)};
#elif HWY_ARCH_X86
  return hn::Vec<hn::RebindToSigned<D> >{_mm_cvtps_epi32(x.raw)};
#else
  return hn::NearestInt(x);
#endif
}

// The same as quantized_floats, of numbers within -2 and 2.
template <Integer kTo, class D, class V = hn::Vec<D> >
HWY_INLINE hn::Vec<hn::RebindToSigned<D> > quantized_small(D d, V x) {
  const hn::RebindToSigned<D> integers;
  const V scale = hn::Set(d, kScale<float, kTo>);
  if constexpr (kTo == Integer::k32) {
    const auto above = hn::RebindMask(integers, hn::Gt(x, hn::Set(d, 1.0f)));
    return hn::IfThenElse(above, hn::Set(integers, kHighest<kTo>), nearest_within(d, hn::Mul(x, scale)));
  } else if constexpr (kTo == Integer::k16) {
    return nearest_within(d, hn::Mul(x, scale));
  } else {
    const V held = hn::Min(hn::Max(x, hn::Set(d, -1.0f)), hn::Set(d, kLimit<float, kTo>));
    return nearest_within(d, hn::Mul(held, scale));
  }
}

// Two vectors of 32-bit integers, held to 16 bits, in one.
template <Order kOrder, class D, class V = hn::Vec<D> >
HWY_INLINE void store_shorts(D integers, V first, V second, std::uint8_t *to) {
  alignas(64) static constexpr std::int32_t kOrder16[] = {0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15};
  alignas(32) static constexpr std::int32_t kOrder8[] = {0, 1, 4, 5, 2, 3, 6, 7};
  const hn::Repartition<std::int16_t, D> shorts;
  const auto both = ordered<kOrder>(shorts, hn::ReorderDemote2To(shorts, first, second));
  V result = hn::BitCast(integers, both);
  if constexpr (hn::MaxLanes(integers) > 4) {  // each 128 bits have their halves from both
    result =
        hn::TableLookupLanes(result, hn::SetTableIndices(integers, hn::MaxLanes(integers) == 8 ? kOrder8 : kOrder16));
  }
  hn::StoreU(result, integers, reinterpret_cast<std::int32_t *>(to));
}

template <typename Real, Integer kTo, Order kOrder>
struct FloatToInteger {
  static constexpr std::size_t kSamples = kLanes<sizeof(Real)>;
  static constexpr std::size_t kFromBytes = sizeof(Real);
  static constexpr std::size_t kToBytes = bytes_of(kTo);

  static HWY_INLINE void step(const std::uint8_t *from, std::uint8_t *to) {
    const Tag<Real, kSamples> reals;
    const Tag<std::int32_t, kSamples> integers;
    const auto x = hn::LoadU(reals, reinterpret_cast<const Real *>(from));
    hn::Vec<decltype(integers)> result;
    if constexpr (sizeof(Real) == 4) {
      result = quantized_floats<kTo>(reals, x);
    } else {
      result = quantized_doubles<kTo>(reals, x);
    }
    store_integers<kTo, kOrder>(integers, result, to);
  }

  // Four steps where no number is 2 or more: the highest bit of the exponent is clear. Values that clip, and none but
  // those, may be beyond 1, so that audio takes this way.
  static HWY_INLINE bool four_steps(const std::uint8_t *from,
                                    std::uint8_t *to) requires(sizeof(Real) == 4 && bool{HWY_ARCH_X86}) {
    const Tag<float, kSamples> reals;
    const Tag<std::int32_t, kSamples> integers;
    const auto *in = reinterpret_cast<const float *>(from);
    const auto x0 = hn::LoadU(reals, in);
    const auto x1 = hn::LoadU(reals, in + kSamples);
    const auto x2 = hn::LoadU(reals, in + 2 * kSamples);
    const auto x3 = hn::LoadU(reals, in + 3 * kSamples);
    const auto any = hn::BitCast(integers, hn::Or(hn::Or(x0, x1), hn::Or(x2, x3)));
    if (!hn::AllFalse(integers, hn::TestBit(any, hn::Set(integers, 0x40000000)))) return false;
    const auto y0 = quantized_small<kTo>(reals, x0);
    const auto y1 = quantized_small<kTo>(reals, x1);
    const auto y2 = quantized_small<kTo>(reals, x2);
    const auto y3 = quantized_small<kTo>(reals, x3);
    constexpr std::size_t kStep = kSamples * kToBytes;
    if constexpr (kToBytes == 2) {
      store_shorts<kOrder>(integers, y0, y1, to);
      store_shorts<kOrder>(integers, y2, y3, to + 2 * kStep);
    } else {
      store_integers<kTo, kOrder>(integers, y0, to);
      store_integers<kTo, kOrder>(integers, y1, to + kStep);
      store_integers<kTo, kOrder>(integers, y2, to + 2 * kStep);
      store_integers<kTo, kOrder>(integers, y3, to + 3 * kStep);
    }
    return true;
  }
};

template <Integer kTo, Order kOrder>
struct FloatToIntegerTowardZero {
  static constexpr std::size_t kSamples = kLanes<sizeof(float)>;
  static constexpr std::size_t kFromBytes = sizeof(float);
  static constexpr std::size_t kToBytes = bytes_of(kTo);

  static HWY_INLINE void step(const std::uint8_t *from, std::uint8_t *to) {
    const Tag<float, kSamples> floats;
    const Tag<std::int32_t, kSamples> integers;
    const auto x = hn::LoadU(floats, reinterpret_cast<const float *>(from));
    const auto scale = hn::Set(floats, kScale<float, kTo>);
    const auto full = hn::Gt(x, hn::Set(floats, kFullScaleAbove<kTo>));
    auto scaled = hn::Mul(hn::Max(x, hn::Set(floats, -1.0f)), scale);
    scaled = hn::IfThenElse(full, hn::Set(floats, static_cast<float>(kHighest<kTo>)), scaled);
    scaled = hn::IfThenElseZero(hn::Eq(x, x), scaled);
    store_integers<kTo, kOrder>(integers, hn::ConvertTo(integers, scaled), to);
  }
};

#endif
}  // namespace auspool::samples::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
