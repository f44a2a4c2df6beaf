#include "tags/id3/comment_frame.h"

#include <algorithm>
#include <string_view>

#include "tags/id3/text.h"

namespace auspool::tags {
namespace {

using View = std::span<const std::uint8_t>;

// A frame's data (ID3v2.3, 4.9 and 4.11):
//
//   0  1  encoding
//   1  3  language
//   4     description with its NUL, text
constexpr std::size_t kDescriptionOffset = 4;

// Shorter frames are skipped, although they could hold a few letters.
std::size_t least_behind_language(std::uint8_t encoding) {
  return ends_in_one_byte(encoding) ? 5 : 6;
}

struct CommentFrame {
  std::uint8_t encoding;
  View description;
  View text;
};

std::optional<CommentFrame> parse(View frame) {
  if (frame.size() < kDescriptionOffset) return std::nullopt;
  const std::uint8_t encoding = frame[0];
  View rest = frame.subspan(kDescriptionOffset);
  if (rest.size() < least_behind_language(encoding)) return std::nullopt;
  const auto description = take_string(rest, encoding);
  if (!description) return std::nullopt;
  return CommentFrame{encoding, *description, rest};
}

std::string_view characters(View bytes) {
  return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

bool is_data_of_a_program(const CommentFrame &frame) {
  if (!ends_in_one_byte(frame.encoding)) return false;
  const std::string_view description = characters(frame.description);
  const std::string_view text = characters(frame.text);
  constexpr auto npos = std::string_view::npos;
  return description.starts_with("iTun") || description.find("CDD") != npos ||
         text.substr(0, text.find('\0')).find("CDD") != npos;
}

}  // namespace

std::optional<std::string> lyrics_text(View frame) {
  const auto parsed = parse(frame);
  if (!parsed) return std::nullopt;
  return create_tag_string_data(parsed->text, parsed->encoding);
}

std::optional<std::string> comment_text(View frame) {
  const auto parsed = parse(frame);
  if (!parsed || is_data_of_a_program(*parsed)) return std::nullopt;
  return create_tag_string_data(parsed->text, parsed->encoding);
}

}  // namespace auspool::tags
