#include "platform/text.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <mutex>
#include <new>

#include "base/utf8.h"

namespace auspool::platform {
namespace {

constexpr std::array kNames = {"UTF-8", "ISO-8859-1", "CP1252", "MACINTOSH", "UTF-16LE", "UTF-16BE"};
constexpr std::size_t kEncodings = kNames.size();

const char *name_of(Encoding encoding) {
  return kNames[static_cast<std::size_t>(encoding)];
}

bool is_utf16(Encoding encoding) {
  return encoding == Encoding::utf16_le || encoding == Encoding::utf16_be;
}

// Whether the bytes are the same in ASCII, UTF-8 and `encoding`, as most tags are.
bool is_plain(std::string_view text, Encoding encoding) {
  return !is_utf16(encoding) && std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

// The C library unloads the code of an encoding that nobody has open, and loading it again costs as much as hundreds of
// conversions. So one descriptor of each encoding stays open.
void keep_loaded(Encoding encoding) {
  static std::array<std::once_flag, kEncodings> asked;
  static std::array<iconv_t, kEncodings> kept;
  const auto index = static_cast<std::size_t>(encoding);
  std::call_once(asked[index], [=] { kept[index] = iconv_open("UTF-8", name_of(encoding)); });
}

class Converter {
public:
  enum class Direction { to_utf8, from_utf8 };

  Converter(Encoding encoding, Direction direction)
      : state_(direction == Direction::to_utf8 ? iconv_open("UTF-8", name_of(encoding))
                                               : iconv_open(name_of(encoding), "UTF-8")) {
    if (state_ == failed()) throw std::bad_alloc();  // the encodings themselves come with the C library
    keep_loaded(encoding);
  }
  ~Converter() { iconv_close(state_); }
  Converter(const Converter &) = delete;
  Converter &operator=(const Converter &) = delete;

  // Converts what it can of `from`, which then begins with what it cannot; returns whether nothing is left.
  bool convert(std::string_view &from, std::string &to) {
    std::array<char, 512> part;
    while (true) {
      char *in = const_cast<char *>(from.data());  // the C library's interface; it only reads
      char *out = part.data();
      std::size_t in_left = from.size(), out_left = part.size();
      const bool complete = iconv(state_, &in, &in_left, &out, &out_left) != static_cast<std::size_t>(-1);
      const bool full = !complete && errno == E2BIG;
      from.remove_prefix(from.size() - in_left);
      to.append(part.data(), part.size() - out_left);
      if (!full) return complete;
    }
  }

private:
  static iconv_t failed() { return reinterpret_cast<iconv_t>(-1); }
  iconv_t state_;
};

// Where the C library's Mac Roman differs from its makers' table of 1998: byte, ours, the C library's.
struct Difference {
  std::string_view character;
  std::string_view in_library;
};
constexpr std::array kMacRomanDifferences = {Difference{"\u2206", "\u0394"},   // C6, increment, as Greek delta
                                             Difference{"\uF8FF", "\uE01E"}};  // F0, the maker's logo

std::string replaced(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::string for_library(std::string_view utf8, Encoding encoding) {
  std::string text(utf8);
  if (encoding != Encoding::mac_roman) return text;
  for (const Difference &it : kMacRomanDifferences) text = replaced(std::move(text), it.character, it.in_library);
  return text;
}

std::string from_library(std::string text, Encoding encoding) {
  if (encoding != Encoding::mac_roman) return text;
  for (const Difference &it : kMacRomanDifferences) text = replaced(std::move(text), it.in_library, it.character);
  return text;
}

}  // namespace

std::optional<std::string> decode_text(std::span<const std::uint8_t> bytes, Encoding encoding) {
  std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
  if (is_plain(text, encoding)) return std::string(text);
  if (encoding == Encoding::utf8) return valid_utf8(text) ? std::optional(std::string(text)) : std::nullopt;
  std::string utf8;
  if (!Converter(encoding, Converter::Direction::to_utf8).convert(text, utf8)) return std::nullopt;
  return from_library(std::move(utf8), encoding);
}

std::optional<std::string> encode_text(std::string_view utf8, Encoding encoding) {
  if (is_plain(utf8, encoding) || encoding == Encoding::utf8) return std::string(utf8);
  const std::string source = for_library(utf8, encoding);
  std::string_view left = source;
  std::string result;
  if (!Converter(encoding, Converter::Direction::from_utf8).convert(left, result)) return std::nullopt;
  return result;
}

std::string encode_text_with(std::string_view utf8, Encoding encoding, char substitute) {
  if (is_plain(utf8, encoding) || encoding == Encoding::utf8) return std::string(utf8);
  const std::string source = for_library(utf8, encoding);
  std::string_view left = source;
  std::string result;
  Converter converter(encoding, Converter::Direction::from_utf8);
  while (!converter.convert(left, result)) {
    result += substitute;
    left.remove_prefix(std::max<std::size_t>(1, utf8_sequence_length(left)));
  }
  return result;
}

std::string_view whole_characters(std::string_view encoded, Encoding encoding, std::size_t limit) {
  if (encoded.size() <= limit) return encoded;
  const auto byte = [encoded](std::size_t i) { return static_cast<std::uint8_t>(encoded[i]); };
  if (encoding == Encoding::utf8) {
    while (limit > 0 && (byte(limit) & 0xC0) == 0x80) --limit;
  } else if (is_utf16(encoding)) {
    limit &= ~std::size_t{1};
    const std::size_t high_byte = encoding == Encoding::utf16_le ? 1 : 0;
    // A low surrogate behind the cut belongs to the character before it.
    if (limit >= 2 && limit + 1 < encoded.size() && (byte(limit + high_byte) & 0xFC) == 0xDC) limit -= 2;
  }
  return encoded.substr(0, limit);
}

}  // namespace auspool::platform
