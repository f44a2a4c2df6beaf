// The decoders of single formats, and the sizes that decode_image has checked for them.
#pragma once

#include "platform/image.h"

namespace auspool::platform {

// Nothing where the header is not that of the format.
std::optional<ImageInfo> png_info(std::span<const std::uint8_t> file);
std::optional<ImageInfo> jpeg_info(std::span<const std::uint8_t> file);

// `bitmap` has its size, and the room for it in `rgb`. Whether the picture could be decoded.
bool decode_png(std::span<const std::uint8_t> file, Bitmap &bitmap);
bool decode_jpeg(std::span<const std::uint8_t> file, Bitmap &bitmap);

}  // namespace auspool::platform
