#include "auspool/ieee_float.h"

#include <bit>
#include <cstring>
#include <limits>
#include <random>

#include "base/byte_order.h"

using namespace auspool;

namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Bytes single(double value) {
  Bytes bytes(4, 0xee);
  ConvertToIeeeSingle(bytes.data(), value);
  return bytes;
}
Bytes wide(double value) {
  Bytes bytes(8, 0xee);
  ConvertToIeeeDouble(bytes.data(), value);
  return bytes;
}
Bytes extended(double value) {
  Bytes bytes(10, 0xee);
  ConvertToIeeeExtended(bytes.data(), value);
  return bytes;
}

double from_single(const Bytes &bytes) {
  return ConvertFromIeeeSingle(bytes.data());
}
double from_wide(const Bytes &bytes) {
  return ConvertFromIeeeDouble(bytes.data());
}
double from_extended(const Bytes &bytes) {
  return ConvertFromIeeeExtended(bytes.data());
}

TEST(IeeeFloat, WritesKnownExtendedNumbers) {
  EXPECT_EQ(extended(44100), (Bytes{0x40, 0x0e, 0xac, 0x44, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(extended(1), (Bytes{0x3f, 0xff, 0x80, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(extended(-2.5), (Bytes{0xc0, 0x00, 0xa0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(extended(1.0 / 3), (Bytes{0x3f, 0xfd, 0xaa, 0xaa, 0xaa, 0xaa, 0xaa, 0xaa, 0xa8, 0x00}));
  EXPECT_EQ(extended(44100.5f), (Bytes{0x40, 0x0e, 0xac, 0x44, 0x80, 0, 0, 0, 0, 0}));
}

TEST(IeeeFloat, ZeroOfEitherSignIsZeroBytes) {
  for (const double zero : {0.0, -0.0}) {
    EXPECT_EQ(single(zero), Bytes(4, 0));
    EXPECT_EQ(wide(zero), Bytes(8, 0));
    EXPECT_EQ(extended(zero), Bytes(10, 0));
  }
}

TEST(IeeeFloat, InfinityHasNoMantissaAndNoLeadingBit) {
  EXPECT_EQ(extended(kInfinity), (Bytes{0x7f, 0xff, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(extended(-kInfinity), (Bytes{0xff, 0xff, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(wide(-kInfinity), (Bytes{0xff, 0xf0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(single(kInfinity), (Bytes{0x7f, 0x80, 0, 0}));
}

TEST(IeeeFloat, NaNBecomesInfinity) {
  EXPECT_EQ(extended(kNaN), extended(kInfinity));
  EXPECT_EQ(wide(kNaN), wide(kInfinity));
  EXPECT_EQ(single(kNaN), single(kInfinity));
}

TEST(IeeeFloat, ASingleCutsBitsOffAndDoesNotRound) {
  EXPECT_EQ(single(1.0 + 0x1p-23 + 0x1.8p-24), single(1.0 + 0x1p-23));
  EXPECT_EQ(single(-1.9999999999), (Bytes{0xbf, 0xff, 0xff, 0xff}));
}

TEST(IeeeFloat, TheEdgesOfASingle) {
  EXPECT_EQ(single(0x1.fffffep127), (Bytes{0x7f, 0x7f, 0xff, 0xff}));
  EXPECT_EQ(single(0x1.ffffffp127), (Bytes{0x7f, 0x7f, 0xff, 0xff})) << "cut off, not rounded up to infinity";
  EXPECT_EQ(single(0x1p128), single(kInfinity));
  EXPECT_EQ(single(-0x1p128), single(-kInfinity));
  EXPECT_EQ(single(0x1p-126), (Bytes{0x00, 0x80, 0, 0})) << "the smallest normal number";
  EXPECT_EQ(single(0x1.8p-127), (Bytes{0x00, 0x60, 0, 0}));
  EXPECT_EQ(single(0x1p-149), (Bytes{0, 0, 0, 1})) << "the smallest number";
  EXPECT_EQ(single(0x1p-150), Bytes(4, 0));
}

TEST(IeeeFloat, TheEdgesOfADouble) {
  EXPECT_EQ(wide(std::numeric_limits<double>::max()), (Bytes{0x7f, 0xef, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}));
  EXPECT_EQ(wide(0x1p-1022), (Bytes{0x00, 0x10, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(wide(0x1p-1074), (Bytes{0, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(wide(-0x1.8p-1023), (Bytes{0x80, 0x0c, 0, 0, 0, 0, 0, 0}));
}

TEST(IeeeFloat, ReadsKnownNumbers) {
  EXPECT_EQ(from_single({0x3f, 0x80, 0, 0}), 1.0);
  EXPECT_EQ(from_single({0xc2, 0xed, 0x40, 0}), -118.625);
  EXPECT_EQ(from_single({0, 0, 0, 1}), 0x1p-149);
  EXPECT_EQ(from_single({0, 0, 0, 0}), 0.0);
  EXPECT_EQ(from_single({0x80, 0, 0, 0}), 0.0);
  EXPECT_EQ(from_wide({0x40, 0x09, 0x21, 0xfb, 0x54, 0x44, 0x2d, 0x18}), 3.141592653589793);
  EXPECT_EQ(from_wide({0, 0, 0, 0, 0, 0, 0, 1}), 0x1p-1074);
  EXPECT_EQ(from_extended({0x40, 0x0e, 0xac, 0x44, 0, 0, 0, 0, 0, 0}), 44100.0);
  EXPECT_EQ(from_extended({0xc0, 0x0e, 0xbb, 0x80, 0, 0, 0, 0, 0, 0}), -48000.0);
  EXPECT_EQ(from_extended(Bytes(10, 0)), 0.0);
}

TEST(IeeeFloat, EveryNumberWithTheLargestExponentReadsAsInfinity) {
  EXPECT_EQ(from_single({0x7f, 0x80, 0, 0}), kInfinity);
  EXPECT_EQ(from_single({0xff, 0xc0, 0, 1}), -kInfinity);
  EXPECT_EQ(from_wide({0x7f, 0xf8, 0, 0, 0, 0, 0, 0}), kInfinity);
  EXPECT_EQ(from_wide({0xff, 0xf0, 0, 0, 0, 0, 0, 0}), -kInfinity);
  EXPECT_EQ(from_extended({0x7f, 0xff, 0, 0, 0, 0, 0, 0, 0, 0}), kInfinity);
  EXPECT_EQ(from_extended({0xff, 0xff, 0xc0, 0, 0, 0, 0, 0, 0, 1}), -kInfinity);
}

TEST(IeeeFloat, WhatADoubleCannotHoldReadsAsInfinityOrZero) {
  EXPECT_EQ(from_extended({0x7f, 0xfe, 0xff, 0, 0, 0, 0, 0, 0, 0}), kInfinity);
  EXPECT_EQ(from_extended({0x00, 0x01, 0x80, 0, 0, 0, 0, 0, 0, 0}), 0.0);
}

TEST(IeeeFloat, AgreesWithTheProcessorOnRandomBitPatterns) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 200000; ++i) {
    const std::uint64_t bits = random();
    const auto value = std::bit_cast<double>(bits);
    if (std::isnan(value)) continue;
    EXPECT_EQ(load_be<std::uint64_t>(wide(value).data()), bits);
    Bytes bytes(8);
    store_be(bytes.data(), bits);
    EXPECT_EQ(from_wide(bytes), value);
    EXPECT_EQ(from_extended(extended(value)), value) << "an extended number holds every double";

    const auto narrow = static_cast<std::uint32_t>(bits);
    const auto number = std::bit_cast<float>(narrow);
    if (std::isnan(number)) continue;
    EXPECT_EQ(load_be<std::uint32_t>(single(static_cast<double>(number)).data()), narrow);
    store_be(bytes.data(), narrow);
    EXPECT_EQ(from_single(bytes), static_cast<double>(number));
    if (::testing::Test::HasFailure()) return;
  }
}

#if defined(__x86_64__)
TEST(IeeeFloat, AgreesWithTheProcessorsOwnExtendedNumbers) {
  std::mt19937_64 random(8);
  for (int i = 0; i < 100000; ++i) {
    const auto value = std::bit_cast<double>(random());
    if (!std::isfinite(value) || value == 0.0) continue;
    const long double native = value;
    std::uint8_t raw[sizeof native];
    std::memcpy(raw, &native, sizeof native);
    const Bytes expected(std::make_reverse_iterator(raw + 10), std::make_reverse_iterator(raw));
    ASSERT_EQ(extended(value), expected) << value;
  }
}
#endif

}  // namespace
