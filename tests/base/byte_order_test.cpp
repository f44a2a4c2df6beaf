#include "base/byte_order.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>

namespace auspool {
namespace {

using Bytes4 = std::array<std::uint8_t, 4>;

TEST(ByteOrder, BigEndianPutsTheHighByteFirst) {
  Bytes4 bytes;
  store_be(bytes.data(), std::uint32_t{0x01020304});
  EXPECT_EQ(bytes, (Bytes4{1, 2, 3, 4}));
}

TEST(ByteOrder, LittleEndianPutsTheLowByteFirst) {
  Bytes4 bytes;
  store_le(bytes.data(), std::uint32_t{0x01020304});
  EXPECT_EQ(bytes, (Bytes4{4, 3, 2, 1}));
}

TEST(ByteOrder, WritesNoMoreThanItsType) {
  Bytes4 bytes = {9, 9, 9, 9};
  store_be(bytes.data(), std::uint16_t{0x0102});
  EXPECT_EQ(bytes, (Bytes4{1, 2, 9, 9}));
  store_le(bytes.data(), std::uint8_t{7});
  EXPECT_EQ(bytes, (Bytes4{7, 2, 9, 9}));
}

TEST(ByteOrder, LoadsWithTheSignOfItsType) {
  const std::uint8_t bytes[] = {0xff, 0xfe};
  EXPECT_EQ(load_be<std::int16_t>(bytes), -2);
  EXPECT_EQ(load_be<std::uint16_t>(bytes), 0xfffe);
  EXPECT_EQ(load_le<std::int16_t>(bytes), -257);
}

template <typename T>
void expect_round_trip() {
  for (T value : {std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), T{0}, T{1}, static_cast<T>(-1),
                  static_cast<T>(0x0123456789abcdefu)}) {
    std::array<std::uint8_t, sizeof(T)> bytes;
    store_be(bytes.data(), value);
    EXPECT_EQ(load_be<T>(bytes.data()), value);
    store_le(bytes.data(), value);
    EXPECT_EQ(load_le<T>(bytes.data()), value);
  }
}

TEST(ByteOrder, EveryWidthComesBackAsItWent) {
  expect_round_trip<std::int8_t>();
  expect_round_trip<std::uint16_t>();
  expect_round_trip<std::int32_t>();
  expect_round_trip<std::uint64_t>();
  expect_round_trip<std::int64_t>();
}

}  // namespace
}  // namespace auspool
