// Pictures: what a JPEG or PNG file claims to be, decoding both, encoding JPEG, scaling. Built on libturbojpeg, libpng
// and libswscale.
//
// The bytes may come from anywhere. Nothing is allocated for a picture that has more pixels than kMaxImagePixels, or
// more than so many bytes could hold. The functions are safe on any thread and throw nothing but std::bad_alloc.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace auspool::platform {

enum class ImageFormat { jpeg, png };

// By the first two bytes alone: FF D8, or 89 "P".
std::optional<ImageFormat> image_format(std::span<const std::uint8_t> file);

struct ImageInfo {
  std::uint32_t width;
  std::uint32_t height;
  std::uint32_t bits_per_pixel;  // all channels together; for a palette the bits of its index
};

// Reads the header alone. Nothing for other formats, a broken header, or a size of 0.
std::optional<ImageInfo> image_info(std::span<const std::uint8_t> file);

constexpr std::uint64_t kMaxImagePixels = std::uint64_t{1} << 26;

// Rows of red, green and blue bytes without gaps, the top one first.
struct Bitmap {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint8_t> rgb;
};

// The whole picture, what is transparent in it over black; nothing when it does not decode to its end.
std::optional<Bitmap> decode_image(std::span<const std::uint8_t> file);

// The picture at another size; nothing for an empty one, and in a build without libswscale.
std::optional<Bitmap> scale_image(const Bitmap &bitmap, std::uint32_t width, std::uint32_t height);

// The most that libjpeg takes, a little below the format's own.
constexpr std::uint32_t kMaxJpegSide = 65500;

// A baseline JPEG file; nothing for an empty bitmap or one of a longer side.
std::optional<std::vector<std::uint8_t>> encode_jpeg(const Bitmap &bitmap);

}  // namespace auspool::platform
