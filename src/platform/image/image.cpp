#include "platform/image.h"

#include "platform/image/codecs.h"

namespace auspool::platform {
namespace {

// Deflate shrinks at most 1032 to 1.
bool png_can_hold(std::size_t file_bytes, const ImageInfo &info) {
  const std::uint64_t row_bytes = (std::uint64_t{info.width} * info.bits_per_pixel + 7) / 8 + 1;
  return row_bytes * info.height / 1032 <= file_bytes;
}

// A Huffman-coded block of 8 by 8 samples takes at least a bit, and the most that a block of any channel can cover
// through subsampling is four times that size.
bool jpeg_can_hold(std::size_t file_bytes, const ImageInfo &info) {
  return std::uint64_t{info.width} * info.height / (64 * 4 * 8) <= file_bytes;
}

}  // namespace

std::optional<ImageFormat> image_format(std::span<const std::uint8_t> file) {
  if (file.size() < 2) return std::nullopt;
  if (file[0] == 0xFF && file[1] == 0xD8) return ImageFormat::jpeg;
  if (file[0] == 0x89 && file[1] == 'P') return ImageFormat::png;
  return std::nullopt;
}

std::optional<ImageInfo> image_info(std::span<const std::uint8_t> file) {
  const auto format = image_format(file);
  if (!format) return std::nullopt;
  const auto info = *format == ImageFormat::png ? png_info(file) : jpeg_info(file);
  if (!info || info->width == 0 || info->height == 0) return std::nullopt;
  return info;
}

std::optional<Bitmap> decode_image(std::span<const std::uint8_t> file) {
  const auto info = image_info(file);
  if (!info || std::uint64_t{info->width} * info->height > kMaxImagePixels) return std::nullopt;
  const bool is_png = image_format(file) == ImageFormat::png;
  if (!(is_png ? png_can_hold : jpeg_can_hold)(file.size(), *info)) return std::nullopt;
  Bitmap bitmap{info->width, info->height, {}};
  bitmap.rgb.resize(std::size_t{info->width} * info->height * 3);
  if (!(is_png ? decode_png : decode_jpeg)(file, bitmap)) return std::nullopt;
  return bitmap;
}

}  // namespace auspool::platform
