#include "tags/id3/text.h"

#include <algorithm>

#include "platform/text.h"

namespace auspool::tags {
namespace {

using platform::Encoding;
using View = std::span<const std::uint8_t>;

constexpr char kLittleEndianMark[] = "\xFF\xFE";
constexpr std::size_t kMarkBytes = 2;

std::size_t find_zero_byte(View bytes) {
  return static_cast<std::size_t>(std::find(bytes.begin(), bytes.end(), 0) - bytes.begin());
}

// The end of the whole units where there is none.
std::size_t find_zero_unit(View bytes) {
  std::size_t at = 0;
  while (at + 2 <= bytes.size() && (bytes[at] != 0 || bytes[at + 1] != 0)) at += 2;
  return at;
}

std::optional<std::string> decode_utf16_with_mark(View text) {
  if (text.size() < kMarkBytes) return std::nullopt;
  const bool little = text[0] == 0xFF && text[1] == 0xFE;
  const bool big = text[0] == 0xFE && text[1] == 0xFF;
  return platform::decode_text(little || big ? text.subspan(kMarkBytes) : text,
                               little ? Encoding::utf16_le : Encoding::utf16_be);
}

std::string cut(std::string_view encoded, Encoding encoding, std::size_t limit) {
  return std::string(platform::whole_characters(encoded, encoding, limit));
}

}  // namespace

std::optional<View> take_string(View &rest, std::uint8_t encoding) {
  const bool narrow = ends_in_one_byte(encoding);
  const std::size_t length = narrow ? find_zero_byte(rest) : find_zero_unit(rest);
  const std::size_t end = length + (narrow ? 1 : 2);
  if (end > rest.size()) return std::nullopt;
  const View string = rest.first(length);
  rest = rest.subspan(end);
  return string;
}

std::optional<std::string> create_tag_string_data(View bytes, std::uint8_t encoding) {
  const View text = bytes.first(ends_in_one_byte(encoding) ? find_zero_byte(bytes) : find_zero_unit(bytes));
  if (text.empty()) return std::nullopt;
  switch (encoding) {
  case kLatin1:
    return platform::decode_text(text, Encoding::latin1);
  case kUtf16:
    return decode_utf16_with_mark(text);
  case kUtf16BigEndian:
    return platform::decode_text(text, Encoding::utf16_be);
  case kUtf8:
    return platform::decode_text(text, Encoding::utf8);
  default:
    return std::nullopt;
  }
}

EncodedText encode_tag_text(std::string_view utf8) {
  if (const auto latin1 = platform::encode_text(utf8, Encoding::latin1)) {
    return {kLatin1, cut(*latin1, Encoding::latin1, kMaxTextBytes)};
  }
  const auto utf16 = platform::encode_text(utf8, Encoding::utf16_le).value_or("");
  return {kUtf16, kLittleEndianMark + cut(utf16, Encoding::utf16_le, kMaxTextBytes - kMarkBytes)};
}

}  // namespace auspool::tags
