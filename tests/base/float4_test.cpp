#include "base/float4.h"

#include <gtest/gtest.h>

#include <array>

namespace auspool {
namespace {

using Lanes = std::array<float, 4>;

Lanes lanes(Float4 v) {
  return {v[0], v[1], v[2], v[3]};
}

TEST(Float4, LoadsAndStoresWhereverTheFloatsLie) {
  const float from[] = {0, 1, 2, 3, 4};
  EXPECT_EQ(lanes(load4(from + 1)), (Lanes{1, 2, 3, 4}));
  float to[6] = {9, 9, 9, 9, 9, 9};
  store4(to + 1, Float4{1, 2, 3, 4});
  EXPECT_EQ((std::array{to[0], to[1], to[4], to[5]}), (Lanes{9, 1, 4, 9}));
}

TEST(Float4, PairsComeFromAndGoToTwoPlaces) {
  const float from[] = {1, 2, 3, 4, 5, 6};
  const Float4 v = load_pairs(from + 4, from);
  EXPECT_EQ(lanes(v), (Lanes{5, 6, 1, 2}));
  std::array<float, 6> to = {};
  store_pairs(to.data(), to.data() + 3, v);
  EXPECT_EQ(to, (std::array<float, 6>{5, 6, 0, 1, 2, 0}));
}

TEST(Float4, TransposesRowsIntoColumns) {
  Float4 a = {0, 1, 2, 3}, b = {4, 5, 6, 7}, c = {8, 9, 10, 11}, d = {12, 13, 14, 15};
  transpose4(a, b, c, d);
  EXPECT_EQ(lanes(a), (Lanes{0, 4, 8, 12}));
  EXPECT_EQ(lanes(b), (Lanes{1, 5, 9, 13}));
  EXPECT_EQ(lanes(c), (Lanes{2, 6, 10, 14}));
  EXPECT_EQ(lanes(d), (Lanes{3, 7, 11, 15}));
}

}  // namespace
}  // namespace auspool
