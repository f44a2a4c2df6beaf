// Each conversion is a step that takes one vector of samples from load to store, driven over rows by `run`.
#include "platform/vector/targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/samples/kernels.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.
#include <hwy/highway.h>

#include <cstring>

#include "platform/samples/reference.h"
#include "platform/samples/tables.h"

HWY_BEFORE_NAMESPACE();
namespace auspool::samples::HWY_NAMESPACE {
#if AUSPOOL_PLAIN_TARGET

using Implementation = Reference;

#else

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

template <Integer kFrom, Order kOrder, typename Real>
struct IntegerToFloat {
  static constexpr std::size_t kSamples = kLanes<sizeof(Real)>;
  static constexpr std::size_t kFromBytes = bytes_of(kFrom);
  static constexpr std::size_t kToBytes = sizeof(Real);

  static HWY_INLINE void step(const std::uint8_t *from, std::uint8_t *to) {
    const Tag<Real, kSamples> reals;
    const Tag<std::int32_t, kSamples> integers;
    hn::Vec<decltype(integers)> value;
    if constexpr (kFromBytes == 2) {
      const Tag<std::int16_t, kSamples> shorts;
      const auto loaded = hn::LoadU(shorts, reinterpret_cast<const std::int16_t *>(from));
      value = hn::PromoteTo(integers, ordered<kOrder>(shorts, loaded));
    } else {
      value = hn::LoadU(integers, reinterpret_cast<const std::int32_t *>(from));
      if constexpr (kFromBytes == 3) {
        value = between_three_and_four<false, kOrder>(integers, value);
      } else {
        value = ordered<kOrder>(integers, value);
      }
    }
    // Packed 24 bits stand in the upper three bytes: 256 times as large, and as exact.
    const auto factor = hn::Set(reals, 1 / kScale < Real, kFrom == Integer::k24 ? Integer::k32 : kFrom >);
    if constexpr (sizeof(Real) == 4) {
      hn::StoreU(hn::Mul(hn::ConvertTo(reals, value), factor), reals, reinterpret_cast<Real *>(to));
    } else {
      hn::StoreU(hn::Mul(hn::PromoteTo(reals, value), factor), reals, reinterpret_cast<Real *>(to));
    }
  }
};

template <typename From, Order kFromOrder, typename To, Order kToOrder>
struct FloatToFloat {
  static constexpr std::size_t kFromBytes = sizeof(From);
  static constexpr std::size_t kToBytes = sizeof(To);
  static constexpr std::size_t kSamples = kLanes<(kFromBytes > kToBytes ? kFromBytes : kToBytes)>;

  static HWY_INLINE void step(const std::uint8_t *from, std::uint8_t *to) {
    const Tag<From, kSamples> source;
    const Tag<To, kSamples> target;
    const auto x = ordered<kFromOrder>(source, hn::LoadU(source, reinterpret_cast<const From *>(from)));
    if constexpr (kFromBytes == kToBytes) {
      hn::StoreU(ordered<kToOrder>(target, x), target, reinterpret_cast<To *>(to));
    } else if constexpr (kFromBytes < kToBytes) {
      hn::StoreU(ordered<kToOrder>(target, hn::PromoteTo(target, x)), target, reinterpret_cast<To *>(to));
    } else {
      hn::StoreU(ordered<kToOrder>(target, hn::DemoteTo(target, x)), target, reinterpret_cast<To *>(to));
    }
  }
};

// The last samples of a row go through memory that a step may read and write beyond them.
template <class Step>
HWY_NOINLINE void run_tail(const std::uint8_t *from, std::uint8_t *to, std::size_t count) {
  constexpr std::size_t kMost = 3 * Step::kSamples;  // two steps, and what the second overruns
  alignas(64) std::uint8_t in[kMost * Step::kFromBytes] = {};
  alignas(64) std::uint8_t out[kMost * Step::kToBytes];
  std::memcpy(in, from, count * Step::kFromBytes);
  for (std::size_t i = 0; i < count; i += Step::kSamples)
    Step::step(in + i * Step::kFromBytes, out + i * Step::kToBytes);
  std::memcpy(to, out, count * Step::kToBytes);
}

template <class Step>
HWY_INLINE void run(const void *from, void *to, std::size_t count) {
  const auto *in = static_cast<const std::uint8_t *>(from);
  auto *out = static_cast<std::uint8_t *>(to);
  // Samples of three bytes are read and written four at a time.
  constexpr bool kOverruns = Step::kFromBytes == 3 || Step::kToBytes == 3;
  constexpr std::size_t kNeeded = (kOverruns ? 2 : 1) * Step::kSamples;
  std::size_t i = 0;
  for (; i + kNeeded <= count; i += Step::kSamples) Step::step(in + i * Step::kFromBytes, out + i * Step::kToBytes);
  if (i < count) run_tail<Step>(in + i * Step::kFromBytes, out + i * Step::kToBytes, count - i);
}

struct Implementation {
  template <typename Real, Integer kTo, Order kOrder>
  static void float_to_integer(const void *from, void *to, std::size_t count) {
    run<FloatToInteger<Real, kTo, kOrder> >(from, to, count);
  }

  template <Integer kTo, Order kOrder>
  static void float_to_integer_toward_zero(const void *from, void *to, std::size_t count) {
    run<FloatToIntegerTowardZero<kTo, kOrder> >(from, to, count);
  }

  template <Integer kFrom, Order kOrder, typename Real>
  static void integer_to_float(const void *from, void *to, std::size_t count) {
    run<IntegerToFloat<kFrom, kOrder, Real> >(from, to, count);
  }

  template <typename From, Order kFromOrder, typename To, Order kToOrder>
  static void float_to_float(const void *from, void *to, std::size_t count) {
    if constexpr (sizeof(From) != sizeof(To)) {
      run<FloatToFloat<From, kFromOrder, To, kToOrder> >(from, to, count);
    } else if constexpr (kFromOrder == kToOrder) {
      if (count > 0) std::memmove(to, from, count * sizeof(From));
    } else {
      // Swapping is all there is: as integers, so that no bit of a NaN changes.
      run<FloatToFloat<Word<From>, Order::kLittle, Word<To>, Order::kBig> >(from, to, count);
    }
  }
};

#endif

const Kernels *table() {
  static constexpr Kernels kTable = make_kernels<Implementation>();
  return &kTable;
}

}  // namespace auspool::samples::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace auspool::samples {

HWY_EXPORT(table);

const Kernels *best_kernels() {
  return HWY_DYNAMIC_DISPATCH(table)();
}

}  // namespace auspool::samples
#endif
