#include "bitbox/swap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

namespace auspool {
namespace {

std::vector<std::uint8_t> counting(std::size_t count) {
  std::vector<std::uint8_t> bytes(count);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  return bytes;
}

// Every `stride`-th sample of `size` bytes reversed, one at a time.
std::vector<std::uint8_t> reversed(std::vector<std::uint8_t> bytes, std::size_t size, std::size_t stride,
                                   std::size_t frames) {
  for (std::size_t i = 0; i < frames; ++i) {
    const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(i * stride * size);
    std::reverse(at, at + static_cast<std::ptrdiff_t>(size));
  }
  return bytes;
}

TEST(Swap, ReversesTheBytesOfEachSampleOfAStride) {
  for (std::int32_t stride : {1, 2, 3}) {
    for (std::uint32_t frames : {0u, 1u, 2u, 5u, 9u}) {
      const auto before = counting(240);
      auto narrow = before;
      swap32(narrow.data(), stride, frames);
      EXPECT_EQ(narrow, reversed(before, 4, static_cast<std::size_t>(stride), frames));
      auto wide = before;
      swap64(wide.data(), stride, frames);
      EXPECT_EQ(wide, reversed(before, 8, static_cast<std::size_t>(stride), frames));
    }
  }
}

}  // namespace
}  // namespace auspool
