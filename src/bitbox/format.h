// A sample format, as its word in include/auspool/bitbox.h tells it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "auspool/bitbox.h"
#include "platform/samples.h"

namespace auspool {

// 64-bit floats in native order: what integers pass through on their way to integers.
inline constexpr std::uint32_t kDoubleFormat = BITBOX_FLOAT | 64;

constexpr std::uint32_t width_of(std::uint32_t format) {
  return format & BITBOX_WIDTH_MASK;
}

constexpr bool is_float(std::uint32_t format) {
  return (format & BITBOX_FLOAT) != 0;
}

constexpr bool is_unpacked(std::uint32_t format) {
  return (format & BITBOX_UNPACKED) != 0 && width_of(format) < 32;
}

constexpr bool is_big_endian(std::uint32_t format) {
  return (format & (BITBOX_BIG_ENDIAN | BITBOX_LITTLE_ENDIAN)) == BITBOX_BIG_ENDIAN;
}

constexpr samples::Order order_of(std::uint32_t format) {
  return is_big_endian(format) ? samples::Order::kBig : samples::Order::kLittle;
}

constexpr bool is_valid(std::uint32_t format) {
  const std::uint32_t width = width_of(format);
  return is_float(format) ? width == 32 || width == 64 : width == 16 || width == 24 || width == 32;
}

// Of a valid format.
constexpr std::ptrdiff_t bytes_per_sample(std::uint32_t format) {
  return is_unpacked(format) && !is_float(format) ? 4 : static_cast<std::ptrdiff_t>(width_of(format) / 8);
}

constexpr samples::Integer integer_of(std::uint32_t format) {
  using enum samples::Integer;
  if (width_of(format) == 16) return is_unpacked(format) ? k16Unpacked : k16;
  if (width_of(format) == 24) return is_unpacked(format) ? k24Unpacked : k24;
  return k32;
}

}  // namespace auspool
