#include "tags/id3/syncsafe.h"

#include <gtest/gtest.h>

#include <array>

namespace auspool::tags {
namespace {

using Four = std::array<std::uint8_t, 4>;

TEST(Syncsafe, HoldsSevenBitsAByte) {
  Four bytes = {};
  encode_syncsafe_size(257, bytes.data());
  EXPECT_EQ(bytes, (Four{0, 0, 2, 1}));
  encode_syncsafe_size(kMaxSyncsafeSize, bytes.data());
  EXPECT_EQ(bytes, (Four{0x7F, 0x7F, 0x7F, 0x7F}));
}

TEST(Syncsafe, ReadsBackWhatItWrote) {
  for (std::uint32_t value = 1; value <= kMaxSyncsafeSize; value = value * 3 + 1) {
    Four bytes = {};
    encode_syncsafe_size(value, bytes.data());
    EXPECT_EQ(decode_syncsafe_size(bytes.data()), value);
  }
}

TEST(Syncsafe, IgnoresTopBitsOnReading) {
  const Four bytes = {0x80, 0x80, 0x82, 0x81};
  EXPECT_EQ(decode_syncsafe_size(bytes.data()), 257u);
}

TEST(Syncsafe, LosesBitsThatDoNotFit) {
  Four bytes = {};
  encode_syncsafe_size(0xFFFFFFFF, bytes.data());
  EXPECT_EQ(bytes, (Four{0x7F, 0x7F, 0x7F, 0x7F}));
}

}  // namespace
}  // namespace auspool::tags
