#include <png.h>

#include <algorithm>

#include "base/byte_order.h"
#include "platform/image/codecs.h"

namespace auspool::platform {
namespace {

// The start of every PNG file (ISO/IEC 15948, 5.2 and 11.2.2): the signature, and the header chunk.
//
//   0   8  89 "PNG" 0D 0A 1A 0A
//   8   8  13, "IHDR"
//   16  4  width
//   20  4  height
//   24  1  bits a sample
//   25  1  colour type
constexpr std::uint8_t kStart[16] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0, 13, 'I', 'H', 'D', 'R'};
constexpr std::size_t kHeaderEnd = 33;

// Samples a pixel, by colour type; 0 for types that do not exist.
constexpr std::uint32_t kSamplesPerPixel[7] = {1, 0, 3, 1, 2, 0, 4};

}  // namespace

std::optional<ImageInfo> png_info(std::span<const std::uint8_t> file) {
  if (file.size() < kHeaderEnd || !std::equal(std::begin(kStart), std::end(kStart), file.begin())) return std::nullopt;
  const std::uint8_t colour_type = file[25];
  if (colour_type >= std::size(kSamplesPerPixel) || kSamplesPerPixel[colour_type] == 0) return std::nullopt;
  const std::uint32_t depth = file[24] * kSamplesPerPixel[colour_type];
  return ImageInfo{load_be<std::uint32_t>(&file[16]), load_be<std::uint32_t>(&file[20]), depth};
}

bool decode_png(std::span<const std::uint8_t> file, Bitmap &bitmap) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_memory(&image, file.data(), file.size())) return false;
  image.format = PNG_FORMAT_RGB;
  const png_color black = {0, 0, 0};
  const bool fits = image.width == bitmap.width && image.height == bitmap.height;
  const bool decoded = fits && png_image_finish_read(&image, &black, bitmap.rgb.data(), 0, nullptr);
  png_image_free(&image);
  return decoded;
}

}  // namespace auspool::platform
