// The kernels of one processor target, as a table of functions.
#pragma once

#include "platform/samples.h"

namespace auspool::samples {

struct Kernels {
  Convert to_integer[2][kIntegers][2];  // [from double][to][big-endian]
  Convert toward_zero[2][2];            // [of 24 bits][big-endian]
  Convert to_float[kIntegers][2][2];    // [from][big-endian][to double]
  Convert between[2][2][2][2];          // [from double][big-endian][to double][big-endian]
};

// The table for this processor.
const Kernels *best_kernels();

// The table of an implementation: a class with the functions of reference.h as static members.
template <typename Implementation, Integer kInteger>
constexpr void fill_integer(Kernels &kernels) {
  constexpr auto kAt = static_cast<std::size_t>(kInteger);
  using I = Implementation;
  kernels.to_integer[0][kAt][0] = I::template float_to_integer<float, kInteger, Order::kLittle>;
  kernels.to_integer[0][kAt][1] = I::template float_to_integer<float, kInteger, Order::kBig>;
  kernels.to_integer[1][kAt][0] = I::template float_to_integer<double, kInteger, Order::kLittle>;
  kernels.to_integer[1][kAt][1] = I::template float_to_integer<double, kInteger, Order::kBig>;
  kernels.to_float[kAt][0][0] = I::template integer_to_float<kInteger, Order::kLittle, float>;
  kernels.to_float[kAt][0][1] = I::template integer_to_float<kInteger, Order::kLittle, double>;
  kernels.to_float[kAt][1][0] = I::template integer_to_float<kInteger, Order::kBig, float>;
  kernels.to_float[kAt][1][1] = I::template integer_to_float<kInteger, Order::kBig, double>;
}

template <typename Implementation, Integer kInteger>
constexpr void fill_toward_zero(Kernels &kernels) {
  auto &row = kernels.toward_zero[kInteger == Integer::k24];
  row[0] = Implementation::template float_to_integer_toward_zero<kInteger, Order::kLittle>;
  row[1] = Implementation::template float_to_integer_toward_zero<kInteger, Order::kBig>;
}

template <typename Implementation, typename From, typename To>
constexpr void fill_between(Kernels &kernels) {
  auto &row = kernels.between[sizeof(From) == 8];
  constexpr bool kToDouble = sizeof(To) == 8;
  using I = Implementation;
  row[0][kToDouble][0] = I::template float_to_float<From, Order::kLittle, To, Order::kLittle>;
  row[0][kToDouble][1] = I::template float_to_float<From, Order::kLittle, To, Order::kBig>;
  row[1][kToDouble][0] = I::template float_to_float<From, Order::kBig, To, Order::kLittle>;
  row[1][kToDouble][1] = I::template float_to_float<From, Order::kBig, To, Order::kBig>;
}

template <typename Implementation>
constexpr Kernels make_kernels() {
  Kernels kernels{};
  fill_integer<Implementation, Integer::k16>(kernels);
  fill_integer<Implementation, Integer::k16Unpacked>(kernels);
  fill_integer<Implementation, Integer::k24>(kernels);
  fill_integer<Implementation, Integer::k24Unpacked>(kernels);
  fill_integer<Implementation, Integer::k32>(kernels);
  fill_toward_zero<Implementation, Integer::k16>(kernels);
  fill_toward_zero<Implementation, Integer::k24>(kernels);
  fill_between<Implementation, float, float>(kernels);
  fill_between<Implementation, float, double>(kernels);
  fill_between<Implementation, double, float>(kernels);
  fill_between<Implementation, double, double>(kernels);
  return kernels;
}

}  // namespace auspool::samples
