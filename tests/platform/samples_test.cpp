#include "platform/samples.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "platform/samples/reference.h"
#include "platform/samples/tables.h"
#include "platform/vector_targets.h"

namespace auspool::samples {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Random bits, and for floats the values where something changes.
Bytes integers(std::size_t count, std::size_t bytes, std::mt19937_64 &random) {
  Bytes result(count * bytes);
  for (auto &byte : result) byte = static_cast<std::uint8_t>(random());
  return result;
}

template <typename Real>
Bytes floats(std::size_t count, Order order, std::mt19937_64 &random) {
  const Real corners[] = {0,
                          -1,
                          1,
                          std::nextafter(Real{1}, Real{0}),
                          std::nextafter(Real{1}, Real{2}),
                          std::nextafter(Real{-1}, Real{-2}),
                          kLimit<Real, Integer::k16>,
                          kLimit<Real, Integer::k24>,
                          std::nextafter(kLimit<Real, Integer::k16>, Real{1}),
                          std::nextafter(kLimit<Real, Integer::k24>, Real{1}),
                          Real{0.5} / 32768,
                          Real{1.5} / 32768,
                          Real{-2.5} / 8388608,
                          std::numeric_limits<Real>::infinity(),
                          -std::numeric_limits<Real>::infinity(),
                          std::numeric_limits<Real>::quiet_NaN(),
                          std::numeric_limits<Real>::max(),
                          std::numeric_limits<Real>::denorm_min()};
  Bytes result(count * sizeof(Real));
  for (std::size_t i = 0; i < count; ++i) {
    const auto noise = static_cast<Real>(std::uniform_real_distribution<double>(-1.1, 1.1)(random));
    const Real x = random() % 4 == 0 ? corners[random() % std::size(corners)] : noise;
    auto bits = std::bit_cast<Word<Real>>(x);
    auto *to = result.data() + i * sizeof(Real);
    order == Order::kBig ? store_be(to, bits) : store_le(to, bits);
  }
  return result;
}

template <typename Test>
void on_every_target(const Test &test) {
  for (const vector::Target &target : vector::targets()) {
    const vector::OnlyTarget only(target);
    SCOPED_TRACE(target.name);
    test();
  }
}

// Source and target are of just the size that is needed, so that the address sanitizer sees a step too far.
void expect_same(Convert kernel, Convert reference, const Bytes &source, std::size_t count, std::size_t to_bytes) {
  Bytes expected(count * to_bytes), result(count * to_bytes);
  reference(source.data(), expected.data(), count);
  kernel(source.data(), result.data(), count);
  ASSERT_EQ(result, expected) << count << " samples";
}

const std::vector<std::size_t> kCounts = {0,  1,  2,  3,  4,  5,  7,  8,  9,   15,  16, 17,
                                          31, 32, 33, 47, 48, 63, 64, 65, 127, 129, 500};
constexpr Kernels kReference = make_kernels<Reference>();

TEST(SampleKernels, FromFloatsToIntegersAgreeWithTheReference) {
  on_every_target([] {
    std::mt19937_64 random(1);
    for (std::size_t i = 0; i < kIntegers; ++i) {
      for (const bool big : {false, true}) {
        const auto to = static_cast<Integer>(i);
        const auto order = big ? Order::kBig : Order::kLittle;
        SCOPED_TRACE(std::to_string(i) + (big ? " big" : " little"));
        for (const std::size_t count : kCounts) {
          expect_same(float_to_integer(false, to, order), kReference.to_integer[0][i][big],
                      floats<float>(count, Order::kLittle, random), count, bytes_of(to));
          expect_same(float_to_integer(true, to, order), kReference.to_integer[1][i][big],
                      floats<double>(count, Order::kLittle, random), count, bytes_of(to));
        }
      }
    }
  });
}

TEST(SampleKernels, FromFloatsToIntegersTowardZeroAgreeWithTheReference) {
  on_every_target([] {
    std::mt19937_64 random(5);
    for (const Integer to : {Integer::k16, Integer::k24}) {
      for (const bool big : {false, true}) {
        for (const std::size_t count : kCounts) {
          expect_same(float_to_integer_toward_zero(to, big ? Order::kBig : Order::kLittle),
                      kReference.toward_zero[to == Integer::k24][big], floats<float>(count, Order::kLittle, random),
                      count, bytes_of(to));
        }
      }
    }
  });
}

TEST(SampleKernels, FromIntegersToFloatsAgreeWithTheReference) {
  on_every_target([] {
    std::mt19937_64 random(2);
    for (std::size_t i = 0; i < kIntegers; ++i) {
      for (const bool big : {false, true}) {
        const auto from = static_cast<Integer>(i);
        for (const bool to_double : {false, true}) {
          for (const std::size_t count : kCounts) {
            expect_same(integer_to_float(from, big ? Order::kBig : Order::kLittle, to_double),
                        kReference.to_float[i][big][to_double], integers(count, bytes_of(from), random), count,
                        to_double ? 8 : 4);
          }
        }
      }
    }
  });
}

TEST(SampleKernels, FromFloatsToFloatsAgreeWithTheReference) {
  on_every_target([] {
    std::mt19937_64 random(3);
    for (unsigned way = 0; way < 16; ++way) {
      const bool from_double = way & 1;
      const bool from_big = way & 2;
      const bool to_double = way & 4;
      const bool to_big = way & 8;
      const Order from_order = from_big ? Order::kBig : Order::kLittle;
      for (const std::size_t count : kCounts) {
        const Bytes source =
            from_double ? floats<double>(count, from_order, random) : floats<float>(count, from_order, random);
        expect_same(float_to_float(from_double, from_order, to_double, to_big ? Order::kBig : Order::kLittle),
                    kReference.between[from_double][from_big][to_double][to_big], source, count, to_double ? 8 : 4);
      }
    }
  });
}

// Quiet audio takes a way of its own through the kernels; one value beyond the range must not spoil its neighbours.
TEST(SampleKernels, TakeOneOddValueAmongOrdinaryOnes) {
  const float odd[] = {2.0f,          -2.0f,          1.0f,
                       1.5f,          -1.0f,          std::numeric_limits<float>::infinity(),
                       std::nanf(""), -std::nanf(""), std::nextafter(2.0f, 0.0f),
                       3e38f};
  on_every_target([&] {
    for (std::size_t i = 0; i < kIntegers; ++i) {
      for (const float value : odd) {
        for (std::size_t at = 0; at < 128; at += 5) {
          Bytes source(128 * sizeof(float));
          for (std::size_t k = 0; k < 128; ++k)
            store_le(source.data() + 4 * k, std::bit_cast<std::uint32_t>(0.01f * static_cast<float>(k) - 0.6f));
          store_le(source.data() + 4 * at, std::bit_cast<std::uint32_t>(value));
          const auto to = static_cast<Integer>(i);
          expect_same(float_to_integer(false, to, Order::kLittle), kReference.to_integer[0][i][0], source, 128,
                      bytes_of(to));
        }
      }
    }
  });
}

TEST(SamplePairs, AreWovenAndTakenApartByteForByte) {
  on_every_target([] {
    std::mt19937_64 random(6);
    for (const std::size_t bytes : {2u, 3u, 4u, 8u}) {
      for (const std::size_t count : kCounts) {
        const Bytes left = integers(count, bytes, random), right = integers(count, bytes, random);
        Bytes expected;
        for (std::size_t i = 0; i < count; ++i) {
          for (const Bytes &side : {left, right})
            expected.insert(expected.end(), side.begin() + static_cast<std::ptrdiff_t>(i * bytes),
                            side.begin() + static_cast<std::ptrdiff_t>((i + 1) * bytes));
        }
        Bytes pairs(2 * count * bytes), first(count * bytes), second(count * bytes);
        interleave(left.data(), right.data(), pairs.data(), bytes, count);
        ASSERT_EQ(pairs, expected) << bytes << " bytes, " << count;
        deinterleave(pairs.data(), first.data(), second.data(), bytes, count);
        ASSERT_EQ(first, left) << bytes << " bytes, " << count;
        ASSERT_EQ(second, right) << bytes << " bytes, " << count;
      }
    }
  });
}

TEST(SampleKernels, MayWorkInPlaceWhereTheSizeStays) {
  on_every_target([] {
    std::mt19937_64 random(4);
    for (const std::size_t count : kCounts) {
      const Bytes source = floats<float>(count, Order::kLittle, random);
      Bytes expected(source.size());
      kReference.to_integer[0][4][1](source.data(), expected.data(), count);
      Bytes in_place = source;
      float_to_integer(false, Integer::k32, Order::kBig)(in_place.data(), in_place.data(), count);
      EXPECT_EQ(in_place, expected);
    }
  });
}

}  // namespace
}  // namespace auspool::samples
