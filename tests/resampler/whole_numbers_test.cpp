// Divisors, powers of two, and the transform sizes that are made of them.
#include "resampler/whole_numbers.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "auspool/filter_design.h"

namespace auspool {
namespace {

TEST(WholeNumbers, TheGreatestDivisorOfZeroAndANumberIsThatNumber) {
  EXPECT_EQ(gcd(0, 7), 7);
  EXPECT_EQ(gcd(7, 0), 7);
  EXPECT_EQ(gcd(0, 0), 0);
  EXPECT_EQ(gcd(7, 7), 7);
  EXPECT_EQ(gcd(44100, 48000), 300);
  EXPECT_EQ(gcd(48000, 44100), 300);
  EXPECT_EQ(gcd(0x7fffffff, 2), 1);
}

TEST(WholeNumbers, OneIsNoPowerOfTwo) {
  EXPECT_FALSE(is_powerOf2(1));
  EXPECT_FALSE(is_powerOf2(0));
  EXPECT_TRUE(is_powerOf2(2));
  EXPECT_TRUE(is_powerOf2(1 << 30));
  for (const std::int32_t value : {3, 6, 12, 65535, 65538}) EXPECT_FALSE(is_powerOf2(value)) << value;
}

TEST(WholeNumbers, TheLogarithmIsRoundedDownAndZeroBelowTwo) {
  for (const auto &[value, logarithm] :
       {std::pair(-5, 0), {0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 2}, {1023, 9}, {1024, 10}, {0x7fffffff, 30}})
    EXPECT_EQ(ilog2N(value), logarithm) << value;
}

TEST(WholeNumbers, TheLargestFittingCountIsFound) {
  for (std::int32_t most = 1; most < 40; ++most) {
    for (std::int32_t limit = 0; limit < 45; ++limit) {
      EXPECT_EQ(largest_fitting(most, [&](std::int32_t count) { return count <= limit; }), std::min(most, limit));
    }
  }
}

TEST(FftSize, LeavesHalfTheFilterBesideIt) {
  std::uint32_t log2 = 0;
  EXPECT_EQ(fft_size_for_filter_length(100, &log2, 2), 256);  // 128 would leave 28
  EXPECT_EQ(log2, 8u);
  EXPECT_EQ(fft_size_for_filter_length(85, &log2, 0), 128);  // leaves 43, and half of 85 is 42
  EXPECT_EQ(log2, 7u);
  EXPECT_EQ(fft_size_for_filter_length(86, &log2, 0), 256);  // leaves 42, and half of 86 is 43
  EXPECT_EQ(log2, 8u);
  EXPECT_EQ(fft_size_for_filter_length(1, &log2, 0), 2);  // leaves 1, and half of 1 is 0
  EXPECT_EQ(log2, 1u);
  EXPECT_EQ(fft_size_for_filter_length(2, nullptr, 0), 4);
}

TEST(FftSize, OtherBasesDoubleTwiceAtFirst) {
  std::uint32_t steps = 0;
  EXPECT_EQ(fft_size_for_filter_length(10, &steps, 3), 24);  // 3, 12, which leaves 2, and one more
  EXPECT_EQ(steps, 3u);
  EXPECT_EQ(fft_size_for_filter_length(3, &steps, 5), 5);
  EXPECT_EQ(steps, 1u);
}

TEST(FftSize, HasNoneBeyondTwoToTheThirtieth) {
  std::uint32_t log2 = 77;
  EXPECT_EQ(fft_size_for_filter_length(1 << 29, &log2, 2), 1 << 30);
  EXPECT_EQ(log2, 30u);
  EXPECT_EQ(fft_size_for_filter_length(1 << 30, &log2, 2), 0);
  EXPECT_EQ(log2, 30u);
}

}  // namespace
}  // namespace auspool
