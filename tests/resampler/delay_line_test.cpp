#include "resampler/delay_line.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "support/watch.h"

namespace auspool::testing {
namespace {

template <typename Sample>
class DelayLine : public ::testing::Test {
protected:
  static constexpr std::int32_t kSize = sizeof(Sample);
  using Line = std::vector<Sample>;

  // From `first` on, each one more, `stride` apart with -1 between them.
  static Line counting(std::size_t count, int first, std::size_t stride = 1) {
    Line line(count * stride, Sample(-1));
    for (std::size_t i = 0; i < count; ++i) line[i * stride] = static_cast<Sample>(first + static_cast<int>(i));
    return line;
  }
};
using Widths = ::testing::Types<float, double>;
TYPED_TEST_SUITE(DelayLine, Widths);

TYPED_TEST(DelayLine, AWindowThatReachesBackKeepsTheLinesEnd) {
  for (const std::size_t stride : {1u, 3u}) {
    auto line = this->counting(9, 1);
    const auto in = this->counting(2, 20, stride);
    const std::int32_t fill =
        save_delay_line(this->kSize, -5, line.data(), 9, 9, in.data(), static_cast<std::int32_t>(stride), 2);
    EXPECT_EQ(fill, 7);
    line.resize(7);
    EXPECT_EQ(line, (typename TestFixture::Line{5, 6, 7, 8, 9, 20, 21}));  // moved over themselves
  }
}

TYPED_TEST(DelayLine, AWindowWithinTheBlockKeepsTheBlocksEnd) {
  for (const std::size_t stride : {1u, 2u}) {
    auto line = this->counting(4, 1);
    const auto in = this->counting(6, 20, stride);
    const std::int32_t fill =
        save_delay_line(this->kSize, 3, line.data(), 4, 4, in.data(), static_cast<std::int32_t>(stride), 6);
    EXPECT_EQ(fill, 3);
    EXPECT_EQ(line, (typename TestFixture::Line{23, 24, 25, 4}));
  }
}

TYPED_TEST(DelayLine, AWindowBehindTheBlockKeepsNothing) {
  auto line = this->counting(4, 1);
  const auto before = line;
  const auto in = this->counting(6, 20);
  EXPECT_EQ(save_delay_line(this->kSize, 6, line.data(), 4, 4, in.data(), 1, 6), 0);
  EXPECT_EQ(save_delay_line(this->kSize, 10, line.data(), 4, 4, in.data(), 1, 6), -4);
  EXPECT_EQ(line, before);
}

TYPED_TEST(DelayLine, CopiesMoveTheInputOn) {
  for (const std::size_t stride : {1u, 4u}) {
    const auto in = this->counting(5, 20, stride);
    const void *next = in.data();
    typename TestFixture::Line line(3);
    copy_to_delay_line(this->kSize, line.data(), &next, static_cast<std::int32_t>(stride), 3);
    EXPECT_EQ(line, this->counting(3, 20));
    EXPECT_EQ(next, in.data() + 3 * stride);
    std::vector<double> wide(2);
    copy_to_delay_lineF64(this->kSize, wide.data(), &next, static_cast<std::int32_t>(stride), 2);
    EXPECT_EQ(wide, (std::vector<double>{23, 24}));
    EXPECT_EQ(static_cast<const TypeParam *>(next) - in.data(), static_cast<std::ptrdiff_t>(5 * stride));
  }
}

TYPED_TEST(DelayLine, OneChannelIsTakenOutOfABlock) {
  for (const std::size_t stride : {1u, 2u, 7u}) {
    for (const std::size_t count : {0u, 1u, 15u, 16u, 33u}) {
      const auto in = this->counting(count, 1, stride);
      typename TestFixture::Line out(count + 1, TypeParam(77));
      const auto samples = static_cast<std::int32_t>(count), apart = static_cast<std::int32_t>(stride);
      if constexpr (sizeof(TypeParam) == 4)
        deinterleave_channelF32(in.data(), apart, out.data(), samples);
      else
        deinterleave_channelF64(in.data(), apart, out.data(), samples);
      EXPECT_EQ(out.back(), TypeParam(77));
      out.pop_back();
      EXPECT_EQ(out, this->counting(count, 1));
    }
  }
}

TYPED_TEST(DelayLine, CopiesWithAnyStrides) {
  for (const std::size_t from : {1u, 3u}) {
    for (const std::size_t to : {1u, 2u}) {
      const auto in = this->counting(9, 1, from);
      typename TestFixture::Line out(9 * to, TypeParam(-1));
      copy_samples(this->kSize, in.data(), static_cast<std::int32_t>(from), out.data(), static_cast<std::int32_t>(to),
                   9);
      EXPECT_EQ(out, this->counting(9, 1, to));
      copy_samples(this->kSize, in.data(), static_cast<std::int32_t>(from), out.data(), static_cast<std::int32_t>(to),
                   -1);
      EXPECT_EQ(out, this->counting(9, 1, to));
    }
  }
}

TYPED_TEST(DelayLine, IsForTheAudioThread) {
  auto line = this->counting(100, 1);
  const auto in = this->counting(50, 20, 2);
  const auto use = [&] {
    const RealtimeGuard guard;
    const void *next = in.data();
    copy_to_delay_line(this->kSize, line.data(), &next, 2, 40);
    save_delay_line(this->kSize, -60, line.data(), 100, 100, in.data(), 2, 40);
    save_delay_line(this->kSize, 5, line.data(), 100, 100, in.data(), 2, 40);
  };
  use();
  if (!run_without_system_calls(use)) GTEST_SKIP() << "the kernel or a sanitizer does not allow it";
}

TEST(DotProduct, AddsStridedTermsOfAnyCount) {
  for (const std::int32_t count : {0, 1, 3, 15, 16, 17, 32, 99}) {
    for (const std::int32_t a_stride : {1, 2}) {
      for (const std::int32_t b_stride : {1, 3}) {
        std::vector<float> a(200), b(300);
        std::iota(a.begin(), a.end(), 1.0f);
        std::iota(b.begin(), b.end(), 2.0f);
        double expected = 0;
        for (std::int32_t i = 0; i < count; ++i) expected += (1.0 + i * a_stride) * (2.0 + i * b_stride);
        float narrow = -1;
        dot_product_unrolledF32(a.data(), a_stride, b.data(), b_stride, &narrow, count);
        EXPECT_EQ(narrow, static_cast<float>(expected)) << count;
        const std::vector<double> wide_a(a.begin(), a.end()), wide_b(b.begin(), b.end());
        double wide = -1;
        dot_product_unrolledF64(wide_a.data(), a_stride, wide_b.data(), b_stride, &wide, count);
        EXPECT_EQ(wide, expected) << count;
      }
    }
  }
}

// Floats would lose the ones beside the large terms.
TEST(DotProduct, OfFloatsIsSummedInDouble) {
  std::vector<float> a(64, 1.0f), b(64, 1.0f);
  a[0] = 1e9f;
  a[63] = -1e9f;
  float sum = 0;
  dot_product_unrolledF32(a.data(), 1, b.data(), 1, &sum, 64);
  EXPECT_EQ(sum, 62.0f);
}

}  // namespace
}  // namespace auspool::testing
