#include "tags/flac/base64.h"

#include <array>
#include <cstdint>

namespace auspool::tags {
namespace {

constexpr std::int8_t kNone = -1;

// The six bits of a character.
constexpr std::array<std::int8_t, 256> base64inv = [] {
  std::array<std::int8_t, 256> bits;
  bits.fill(kNone);
  std::int8_t next = 0;
  for (const char c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")) {
    bits[static_cast<std::uint8_t>(c)] = next++;
  }
  return bits;
}();

}  // namespace

Bytes decode_base64(std::string_view text) {
  Bytes bytes;
  bytes.reserve((text.size() + 3) / 4 * 3);
  std::uint32_t collected = 0;
  int bits = 0;
  for (const char c : text) {
    const std::int8_t six = base64inv[static_cast<std::uint8_t>(c)];
    if (six == kNone) break;
    collected = collected << 6 | static_cast<std::uint32_t>(six);
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    bytes.push_back(static_cast<std::uint8_t>(collected >> bits));
  }
  return bytes;
}

}  // namespace auspool::tags
