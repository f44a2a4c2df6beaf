#include "tags/id3/picture_frame.h"

#include "tags/id3/text.h"

namespace auspool::tags {
namespace {

using View = std::span<const std::uint8_t>;

// A frame's data (ID3v2.3, 4.15; ID3v2.2, 4.15):
//
//   0  1  encoding of the description
//   1     MIME type in ISO Latin-1 with its NUL; in ID3v2.2 three letters
//      1  picture type
//         description with its NUL, image
constexpr std::size_t kFormatOffset = 1;
constexpr std::size_t kFormatBytes_2_2 = 3;
constexpr std::size_t kLeastImageBytes = 17;

bool skip_format(View &rest, int major_version) {
  if (major_version > 2) return take_string(rest, kLatin1).has_value();
  if (rest.size() < kFormatBytes_2_2) return false;
  rest = rest.subspan(kFormatBytes_2_2);
  return true;
}

}  // namespace

std::optional<Picture> parse_picture(View frame, int major_version) {
  if (frame.size() < kFormatOffset) return std::nullopt;
  const std::uint8_t encoding = frame[0];
  View rest = frame.subspan(kFormatOffset);
  if (!skip_format(rest, major_version) || rest.empty()) return std::nullopt;
  const std::uint8_t type = rest[0];
  rest = rest.subspan(1);
  if (!take_string(rest, encoding) || rest.size() < kLeastImageBytes) return std::nullopt;
  return Picture{type, rest};
}

}  // namespace auspool::tags
