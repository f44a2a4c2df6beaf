// Text in frames: a byte that tells the encoding, and strings that end in a NUL or with the frame.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace auspool::tags {

// The encoding byte. Other values give no text.
enum TextEncoding : std::uint8_t {
  kLatin1 = 0,
  kUtf16 = 1,  // with a byte order mark; big-endian without
  kUtf16BigEndian = 2,
  kUtf8 = 3,
};

// Whether strings of this encoding end in a single zero byte, not in a zero 16-bit unit.
constexpr bool ends_in_one_byte(std::uint8_t encoding) {
  return encoding == kLatin1 || encoding == kUtf8;
}

// The string at the start of `rest`, which is moved behind its NUL; nothing, and `rest` as it was, when it has none.
std::optional<std::span<const std::uint8_t>> take_string(std::span<const std::uint8_t> &rest, std::uint8_t encoding);

// UTF-8 of the text up to its NUL or the end of `bytes`; nothing when that has no bytes, or when they are not valid in
// the encoding. A byte order mark alone is the empty string.
std::optional<std::string> create_tag_string_data(std::span<const std::uint8_t> bytes, std::uint8_t encoding);

// Longer text is cut behind the last character that fits.
constexpr std::size_t kMaxTextBytes = 4096;

struct EncodedText {
  std::uint8_t encoding;
  std::string bytes;
};

// ISO Latin-1 when it has all the characters of the whole text, else UTF-16, little-endian behind its byte order mark,
// which counts into the limit.
EncodedText encode_tag_text(std::string_view utf8);

}  // namespace auspool::tags
