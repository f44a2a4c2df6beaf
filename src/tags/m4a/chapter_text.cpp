//  0 length of the text, 16 bits   2 text   and in `tx3g` atoms behind it, among them
//
//  0 size   4 "href"   8 first character   10 last character   12 length   13 link   NUL
#include "tags/m4a/chapter_text.h"

#include "base/byte_order.h"
#include "base/four_cc.h"
#include "base/utf8.h"
#include "platform/text.h"
#include "tags/m4a/find_atom.h"

namespace auspool::tags {
namespace {

using View = std::span<const std::uint8_t>;

constexpr std::size_t kLengthBytes = 2, kMarkBytes = 2;

std::string as_string(View bytes) {
  return {bytes.begin(), bytes.end()};
}

// The order that a mark at the start of the text tells of.
std::optional<platform::Encoding> marked_encoding(View text) {
  if (text.size() < kMarkBytes) return std::nullopt;
  if (text[0] == 0xFE && text[1] == 0xFF) return platform::Encoding::utf16_be;
  if (text[0] == 0xFF && text[1] == 0xFE) return platform::Encoding::utf16_le;
  return std::nullopt;
}

// Text that is no UTF-8 where it should be says nothing; in the older format the whole sample is Latin-1, the bytes of
// its length in front: who asks for the text as a C string finds an end before it begins, as a rule.
std::string title_of(View sample, std::size_t length, bool is_tx3g) {
  const View text = sample.subspan(kLengthBytes, length);
  if (const auto encoding = marked_encoding(text)) {
    return platform::decode_text(text.subspan(kMarkBytes), *encoding).value_or("");
  }
  std::string utf8 = as_string(text);
  if (valid_utf8(utf8)) return utf8;
  if (is_tx3g) return "";
  return platform::decode_text(sample.first(kLengthBytes + length), platform::Encoding::latin1).value_or("");
}

// False for a link that is longer than its atom.
bool read_link(View atom, std::optional<std::string> &link) {
  constexpr std::size_t kCharacters = 8, kLength = 12, kText = 13;
  if (atom.size() < kText) return true;
  if (load_be<std::uint32_t>(&atom[kCharacters]) == 0) return true;  // of no character: no link
  const std::size_t length = atom[kLength];
  if (length >= atom.size() - kText) return false;
  std::string text = as_string(atom.subspan(kText, length));
  link = valid_utf8(text) ? std::move(text) : "";
  return true;
}

bool read_links(View atoms, std::optional<std::string> &link) {
  while (atoms.size() > kAtomHeaderBytes && !link) {
    const std::size_t size = load_be<std::uint32_t>(atoms.data());
    if (size < kAtomHeaderBytes || size > atoms.size()) return true;
    if (load_be<std::uint32_t>(&atoms[4]) == four_cc("href") && !read_link(atoms.first(size), link)) return false;
    atoms = atoms.subspan(size);
  }
  return true;
}

}  // namespace

std::optional<ChapterText> parse_chapter_text(View sample, bool is_tx3g) {
  if (sample.size() < kLengthBytes) return std::nullopt;
  const std::size_t length = load_be<std::uint16_t>(sample.data());
  if (length > sample.size() - kLengthBytes) return std::nullopt;
  ChapterText text{title_of(sample, length, is_tx3g), std::nullopt};
  if (is_tx3g && !read_links(sample.subspan(kLengthBytes + length), text.link)) return std::nullopt;
  return text;
}

}  // namespace auspool::tags
