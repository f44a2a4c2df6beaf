#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "auspool/filter_design.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

// The prototype 1, 2, 3 ... split.
template <typename Sample>
std::vector<Sample> split(std::int32_t length, std::int32_t taps, std::int32_t phases, std::int32_t step) {
  std::vector<double> prototype(static_cast<std::size_t>(length));
  std::iota(prototype.begin(), prototype.end(), 1.0);
  auto *made =
      static_cast<Sample *>(make_polyphase_filter(sizeof(Sample), prototype.data(), length, taps, phases, step));
  std::vector<Sample> rows(made, made + taps * phases);
  std::free(made);
  return rows;
}

template <typename Sample>
class PolyphaseFilter : public ::testing::Test {
protected:
  using Rows = std::vector<Sample>;
};
using Widths = ::testing::Types<float, double>;
TYPED_TEST_SUITE(PolyphaseFilter, Widths);

TYPED_TEST(PolyphaseFilter, ARowHasEveryTapOfItsPhase) {
  EXPECT_EQ(split<TypeParam>(8, 3, 3, 1), (typename TestFixture::Rows{1, 4, 7, 2, 5, 8, 3, 6, 0}));
}

TYPED_TEST(PolyphaseFilter, TurnedRoundARowBeginsWithItsZeroes) {
  EXPECT_EQ(split<TypeParam>(8, 3, 3, -1), (typename TestFixture::Rows{7, 4, 1, 8, 5, 2, 0, 6, 3}));
}

TYPED_TEST(PolyphaseFilter, TapsThatDoNotFitAreLeftOut) {
  EXPECT_EQ(split<TypeParam>(9, 2, 3, -1), (typename TestFixture::Rows{4, 1, 5, 2, 6, 3}));
}

// A single phase turned round begins with the prototype's last tap, and its zeroes stay behind.
TYPED_TEST(PolyphaseFilter, ASinglePhaseReadsFromTheEnd) {
  EXPECT_EQ(split<TypeParam>(4, 4, 1, 1), (typename TestFixture::Rows{1, 2, 3, 4}));
  EXPECT_EQ(split<TypeParam>(4, 4, 1, -1), (typename TestFixture::Rows{4, 3, 2, 1}));
  EXPECT_EQ(split<TypeParam>(4, 6, 1, -1), (typename TestFixture::Rows{4, 3, 2, 1, 0, 0}));
  EXPECT_EQ(split<TypeParam>(4, 2, 1, -1), (typename TestFixture::Rows{4, 3}));
}

TEST(PolyphaseFilterMemory, IsNullWithoutTapsPhasesOrMemory) {
  const double prototype[4] = {1, 2, 3, 4};
  EXPECT_EQ(make_polyphase_filter(4, prototype, 0, 4, 1, 1), nullptr);
  EXPECT_EQ(make_polyphase_filter(4, prototype, 4, 0, 1, 1), nullptr);
  EXPECT_EQ(make_polyphase_filter(4, prototype, 4, 4, 0, 1), nullptr);
  const CallFailer failer("calloc");
  EXPECT_EQ(make_polyphase_filter(8, prototype, 4, 4, 1, 1), nullptr);
}

TEST(PolyphaseFilterMemory, FloatsAreTheNarrowedDoubles) {
  const double prototype[2] = {0.1, 1.0 / 3};
  auto *made = static_cast<float *>(make_polyphase_filter(4, prototype, 2, 2, 1, 1));
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made[0], 0.1f);
  EXPECT_EQ(made[1], static_cast<float>(1.0 / 3));
  std::free(made);
}

}  // namespace
}  // namespace auspool::testing
