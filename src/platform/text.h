// Text in the encodings that tags use, to and from UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace auspool::platform {

enum class Encoding {
  utf8,
  latin1,          // ISO 8859-1
  windows_latin1,  // code page 1252
  mac_roman,
  utf16_le,  // without a byte order mark
  utf16_be,
};

// The text as UTF-8, or nothing when the bytes are not valid in their encoding.
std::optional<std::string> decode_text(std::span<const std::uint8_t> bytes, Encoding encoding);

// The bytes of a UTF-8 text in that encoding, or nothing when a character has none there.
std::optional<std::string> encode_text(std::string_view utf8, Encoding encoding);

// The same with `substitute` for each character that has none.
std::string encode_text_with(std::string_view utf8, Encoding encoding, char substitute);

// The longest part of encoded text from its start that has at most `limit` bytes and ends with a whole character.
std::string_view whole_characters(std::string_view encoded, Encoding encoding, std::size_t limit);

}  // namespace auspool::platform
