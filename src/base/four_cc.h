// Four-character codes: the first character is the most significant byte.
#pragma once

#include <cstdint>

namespace auspool {

constexpr std::uint32_t four_cc(const char (&code)[5]) {
  std::uint32_t value = 0;
  for (int i = 0; i < 4; ++i) value = value << 8 | static_cast<std::uint8_t>(code[i]);
  return value;
}

}  // namespace auspool
