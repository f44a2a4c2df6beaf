#include "base/cache_lines.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace auspool {
namespace {

TEST(AlignedVector, BeginsWithACacheLineHoweverItGrew) {
  AlignedVector<float> values;
  for (int i = 0; i < 1000; ++i) {
    values.push_back(static_cast<float>(i));
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(values.data()) % 64, 0u) << i;
  }
  EXPECT_EQ(values[999], 999.0f);
  const AlignedVector<float> copy = values;
  EXPECT_EQ(copy, values);
}

}  // namespace
}  // namespace auspool
