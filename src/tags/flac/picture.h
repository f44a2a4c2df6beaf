// PICTURE blocks, which also stand as Base64 in comments, and which of several becomes the cover.
//
//   0       4  type of picture, as in ID3's `APIC`; all numbers are big-endian
//   4       4  length of the MIME type
//   8       m  MIME type
//   8+m     4  length of the description
//   12+m    d  description
//   12+m+d  4  width
//           4  height
//           4  colour depth
//           4  count of colours
//           4  length of the image
//              image
#pragma once

#include <cstdint>
#include <optional>

namespace auspool::tags {

struct FlacPicture {
  std::uint32_t type;
  std::uint64_t area;  // pixels
  std::uint64_t image_at, image_bytes;

  bool is_front_cover() const { return type == 3; }
};

// Reads a block of `size` bytes through `fetch(at)`, which gives the number at a place as an optional. Nothing where a
// length does not fit, and for an empty image.
template <typename Fetch>
std::optional<FlacPicture> parse_flac_picture(std::uint64_t size, const Fetch &fetch) {
  constexpr std::uint64_t kBeforeMime = 8, kBehindDescription = 20;
  std::uint64_t at = 0;
  bool fits = true;
  const auto next = [&]() -> std::uint64_t {
    const auto number = fits && at + 4 <= size ? fetch(at) : std::nullopt;
    fits = number.has_value();
    at += 4;
    return number.value_or(0);
  };
  const auto type = static_cast<std::uint32_t>(next());
  const std::uint64_t mime = next();
  if (!fits || mime > size - kBeforeMime) return std::nullopt;
  at += mime;
  const std::uint64_t description = next();
  if (!fits || description > size - at || size - at - description < kBehindDescription) return std::nullopt;
  at += description;
  const std::uint64_t width = next(), height = next();
  at += 8;
  const std::uint64_t image = next();
  if (!fits || image == 0 || image > size - at) return std::nullopt;
  return FlacPicture{type, width * height, at, image};
}

// Goes through the pictures of a file.
class CoverChoice {
public:
  bool front_cover_found() const { return front_cover_found_; }

  // Whether this picture becomes the cover in place of the one before: a front cover always, another one while there is
  // no front cover, and when it is larger, in pixels or else in bytes.
  bool takes(const FlacPicture &picture) {
    if (picture.is_front_cover()) return front_cover_found_ = true;
    if (front_cover_found_) return false;
    if (picture.area <= best_area_ && picture.image_bytes <= best_bytes_) return false;
    best_area_ = picture.area;
    best_bytes_ = picture.image_bytes;
    return true;
  }

private:
  bool front_cover_found_ = false;
  std::uint64_t best_area_ = 0, best_bytes_ = 0;  // of the picture that is the cover
};

}  // namespace auspool::tags
