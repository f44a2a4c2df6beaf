// Sizes in ID3v2 headers: 28 bits, 7 in each of four bytes, so that no byte looks like the start of an MPEG frame
// (ID3v2.4 structure, 6.2).
#pragma once

#include <cstdint>

namespace auspool::tags {

constexpr std::uint32_t kMaxSyncsafeSize = (1u << 28) - 1;

// The top bit of each byte is ignored.
constexpr std::uint32_t decode_syncsafe_size(const std::uint8_t bytes[4]) {
  std::uint32_t value = 0;
  for (int i = 0; i < 4; ++i) value = value << 7 | (bytes[i] & 0x7Fu);
  return value;
}

// Bits above the 28 are lost.
constexpr void encode_syncsafe_size(std::uint32_t value, std::uint8_t bytes[4]) {
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<std::uint8_t>(value >> (7 * (3 - i)) & 0x7F);
}

}  // namespace auspool::tags
