// Pictures in `APIC` frames, and the `PIC` frames of ID3v2.2.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace auspool::tags {

constexpr std::uint8_t kFrontCover = 3;

struct Picture {
  std::uint8_t type;
  std::span<const std::uint8_t> image;  // the bytes of an image file
};

// Nothing for a broken frame, and for less than 17 bytes of image.
std::optional<Picture> parse_picture(std::span<const std::uint8_t> frame, int major_version);

}  // namespace auspool::tags
