// What samples.h promises, as plain loops. The kernels are tested against these.
#pragma once

#include <bit>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "base/byte_order.h"
#include "platform/samples.h"

namespace auspool::samples {

template <typename Real, Integer kTo>
constexpr Real kScale = static_cast<Real>(std::uint64_t{1} << (bits_of(kTo) - 1));

// The value of the highest code; of 32 bits in a float, the nearest that there is, which is 1.0.
template <typename Real, Integer kTo>
constexpr Real kLimit = static_cast<Real>(1.0 - 1.0 / kScale<double, kTo>);

template <Integer kTo>
constexpr std::int32_t kHighest = static_cast<std::int32_t>((std::uint64_t{1} << (bits_of(kTo) - 1)) - 1);

template <typename Real, Integer kTo>
std::int32_t quantized(Real x) {
  if (std::isnan(x)) return 0;
  if (x < Real{-1}) return -kHighest<kTo> - 1;
  if (x > kLimit<Real, kTo>) return kHighest<kTo>;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(std::lrint(x * kScale<Real, kTo>)));
}

// A float above this is full scale. The largest float that is not above the double 0.9999694 serves for it.
template <Integer kTo>
constexpr float kFullScaleAbove = kTo == Integer::k16 ? 0x1.fffbfcp-1f : 0.99999988f;
static_assert(double{kFullScaleAbove<Integer::k16>} <= 0.9999694 && double{0x1.fffbfep-1f} > 0.9999694);

template <Integer kTo>
std::int32_t truncated(float x) {
  if (std::isnan(x)) return 0;
  if (x < -1.0f) return -kHighest<kTo> - 1;
  if (x > kFullScaleAbove<kTo>) return kHighest<kTo>;
  return static_cast<std::int32_t>(x * kScale<float, kTo>);
}

template <Integer kTo, Order kOrder>
void store(std::uint8_t *to, std::int32_t value) {
  constexpr int kBytes = static_cast<int>(bytes_of(kTo));
  for (int i = 0; i < kBytes; ++i) {
    const int at = kOrder == Order::kBig ? kBytes - 1 - i : i;
    to[at] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(value) >> (8 * i));
  }
}

template <Integer kFrom, Order kOrder>
std::int32_t load(const std::uint8_t *from) {
  constexpr int kBytes = static_cast<int>(bytes_of(kFrom));
  std::uint32_t value = 0;
  for (int i = 0; i < kBytes; ++i) {
    const int at = kOrder == Order::kBig ? i : kBytes - 1 - i;
    value = value << 8 | from[at];
  }
  constexpr int kUnused = 32 - 8 * kBytes;
  return static_cast<std::int32_t>(value << kUnused) >> kUnused;
}

template <typename T>
using Word = std::conditional_t<sizeof(T) == 8, std::uint64_t, std::uint32_t>;

// Integers are moved, not floats: a load to a register of floats may quiet a NaN.
template <typename Real, Order kOrder>
Word<Real> load_word(const std::uint8_t *from) {
  return kOrder == Order::kBig ? load_be<Word<Real>>(from) : load_le<Word<Real>>(from);
}

// A class, so that its functions make a table (tables.h).
struct Reference {
  template <typename Real, Integer kTo, Order kOrder>
  static void float_to_integer(const void *from, void *to, std::size_t count) {
    const auto *in = static_cast<const std::uint8_t *>(from);
    auto *out = static_cast<std::uint8_t *>(to);
    for (std::size_t i = 0; i < count; ++i) {
      Real x;
      std::memcpy(&x, in + i * sizeof x, sizeof x);
      store<kTo, kOrder>(out + i * bytes_of(kTo), quantized<Real, kTo>(x));
    }
  }

  template <Integer kTo, Order kOrder>
  static void float_to_integer_toward_zero(const void *from, void *to, std::size_t count) {
    const auto *in = static_cast<const std::uint8_t *>(from);
    auto *out = static_cast<std::uint8_t *>(to);
    for (std::size_t i = 0; i < count; ++i) {
      float x;
      std::memcpy(&x, in + i * sizeof x, sizeof x);
      store<kTo, kOrder>(out + i * bytes_of(kTo), truncated<kTo>(x));
    }
  }

  template <Integer kFrom, Order kOrder, typename Real>
  static void integer_to_float(const void *from, void *to, std::size_t count) {
    const auto *in = static_cast<const std::uint8_t *>(from);
    auto *out = static_cast<std::uint8_t *>(to);
    constexpr Real kFactor = 1 / kScale<Real, kFrom>;
    for (std::size_t i = 0; i < count; ++i) {
      const Real x = static_cast<Real>(load<kFrom, kOrder>(in + i * bytes_of(kFrom))) * kFactor;
      std::memcpy(out + i * sizeof x, &x, sizeof x);
    }
  }

  template <typename From, Order kFromOrder, typename To, Order kToOrder>
  static void float_to_float(const void *from, void *to, std::size_t count) {
    const auto *in = static_cast<const std::uint8_t *>(from);
    auto *out = static_cast<std::uint8_t *>(to);
    for (std::size_t i = 0; i < count; ++i) {
      const Word<From> bits = load_word<From, kFromOrder>(in + i * sizeof(From));
      Word<To> result;
      if constexpr (sizeof(From) == sizeof(To)) {
        result = bits;
      } else {
        result = std::bit_cast<Word<To>>(static_cast<To>(std::bit_cast<From>(bits)));
      }
      if constexpr (kToOrder == Order::kBig) {
        store_be(out + i * sizeof(To), result);
      } else {
        store_le(out + i * sizeof(To), result);
      }
    }
  }
};

}  // namespace auspool::samples
