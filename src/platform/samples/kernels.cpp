// Each conversion is a step that takes one vector of samples from load to store, driven over rows by `run`.
#include "platform/vector/targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/samples/kernels.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.
#include <hwy/highway.h>

#include <cstring>

#include "platform/samples/bytes-inl.h"
#include "platform/samples/quantize-inl.h"
#include "platform/samples/reference.h"
#include "platform/samples/tables.h"

HWY_BEFORE_NAMESPACE();
namespace auspool::samples::HWY_NAMESPACE {
#if AUSPOOL_PLAIN_TARGET

using Implementation = Reference;

#else

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
HWY_INLINE void run_four(const std::uint8_t *from, std::uint8_t *to) {
  if constexpr (requires { Step::four_steps(from, to); }) {
    if (Step::four_steps(from, to)) [[likely]]
      return;
  }
  for (std::size_t i = 0; i < 4; ++i)
    Step::step(from + i * Step::kSamples * Step::kFromBytes, to + i * Step::kSamples * Step::kToBytes);
}

template <class Step>
HWY_INLINE void run(const void *from, void *to, std::size_t count) {
  const auto *in = static_cast<const std::uint8_t *>(from);
  auto *out = static_cast<std::uint8_t *>(to);
  // Samples of three bytes are read and written four at a time.
  constexpr bool kOverruns = Step::kFromBytes == 3 || Step::kToBytes == 3;
  constexpr std::size_t kBehind = kOverruns ? Step::kSamples : 0;
  std::size_t i = 0;
  for (; i + 4 * Step::kSamples + kBehind <= count; i += 4 * Step::kSamples)
    run_four<Step>(in + i * Step::kFromBytes, out + i * Step::kToBytes);
  for (; i + Step::kSamples + kBehind <= count; i += Step::kSamples)
    Step::step(in + i * Step::kFromBytes, out + i * Step::kToBytes);
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
