// Validity of UTF-8, as the Unicode Standard's table of well-formed byte sequences has it: shortest forms only, no
// surrogates, nothing above U+10FFFF.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace auspool {

// The length of the well-formed sequence that `text` begins with, 0 when it begins with none.
constexpr std::size_t utf8_sequence_length(std::string_view text) {
  const auto byte = [text](std::size_t i) { return i < text.size() ? static_cast<std::uint8_t>(text[i]) : 0u; };
  const unsigned first = byte(0);
  if (first < 0x80) return text.empty() ? 0 : 1;
  if (first < 0xC2 || first > 0xF4) return 0;
  const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  // The second byte alone decides about long forms, surrogates and the end of the code space.
  const unsigned low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  const unsigned high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  if (byte(1) < low || byte(1) > high) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  return length;
}

constexpr bool valid_utf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8_sequence_length(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace auspool
