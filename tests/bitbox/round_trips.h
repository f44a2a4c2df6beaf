// What must come back as it was, over all values that there are.
#pragma once

#include <gtest/gtest.h>

#include "bitbox/formats_model.h"

namespace auspool::testing {

inline constexpr std::int32_t kChunk = 1 << 16;

// The integers from `first` on, stored in the format.
inline void fill(const Format &format, std::int32_t first, Bytes &bytes) {
  bytes.resize(kChunk * format.bytes());
  for (std::int32_t i = 0; i < kChunk; ++i) {
    store_bits(format, static_cast<std::uint32_t>(first + i),
               bytes.data() + static_cast<std::size_t>(i) * format.bytes());
  }
}

inline void convert(const Bytes &bytes, const Format &from, Bytes &result, const Format &to) {
  result.resize(kChunk * to.bytes());
  void *source = const_cast<std::uint8_t *>(bytes.data());
  void *target = result.data();
  ASSERT_EQ(bitbox_convert(&source, from.word, 1, &target, to.word, 1, 1, kChunk, nullptr), kChunk);
}

inline void expect_round_trip(const Format &format, const Format &through) {
  const std::int32_t half = 1 << (format.width() - 1);
  Bytes values, between, back;
  for (std::int32_t first = -half; first < half; first += kChunk) {
    fill(format, first, values);
    convert(values, format, between, through);
    convert(between, through, back, format);
    ASSERT_TRUE(back == values) << format.name() << " through " << through.name() << " from " << first;
  }
}

}  // namespace auspool::testing
