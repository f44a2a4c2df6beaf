#include "support/pictures.h"

#include <png.h>
#include <turbojpeg.h>

#include <stdexcept>

namespace auspool::testing {
namespace {

std::uint8_t ramp(std::uint32_t at, std::uint32_t size) {
  return static_cast<std::uint8_t>(at * 255 / size);
}

// One byte a channel, or two little-endian ones; `value` gives channel `c` of a pixel in 8 bits.
template <typename Sample, typename Value>
std::vector<Sample> pixels_of(std::uint32_t width, std::uint32_t height, std::uint32_t channels, Value value) {
  std::vector<Sample> pixels;
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) {
      for (std::uint32_t c = 0; c < channels; ++c) {
        pixels.push_back(static_cast<Sample>(value(x, y, c) * (sizeof(Sample) == 2 ? 257 : 1)));
      }
    }
  }
  return pixels;
}

Bytes png_of(std::uint32_t width, std::uint32_t height, std::uint32_t format, const void *pixels,
             const void *palette = nullptr) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  image.width = width;
  image.height = height;
  image.format = format;
  image.colormap_entries = palette ? 256 : 0;
  png_alloc_size_t size = 0;
  if (!png_image_write_to_memory(&image, nullptr, &size, 0, pixels, 0, palette)) throw std::runtime_error("png");
  Bytes file(size);
  if (!png_image_write_to_memory(&image, file.data(), &size, 0, pixels, 0, palette)) throw std::runtime_error("png");
  return file;
}

}  // namespace

Bytes gradient(std::uint32_t width, std::uint32_t height) {
  return pixels_of<std::uint8_t>(width, height, 3, [&](auto x, auto y, auto c) {
    return c == 0 ? ramp(x, width) : c == 1 ? ramp(y, height) : std::uint8_t{128};
  });
}

Bytes png_file(std::uint32_t width, std::uint32_t height, PngKind kind) {
  const auto left_transparent = [&](auto x, auto y, auto c) {
    return c == 3 ? std::uint8_t(x < width / 2 ? 0 : 255) : c == 0 ? ramp(x, width) : ramp(y, height);
  };
  const auto gray = [&](auto x, auto, auto c) {
    return c == 1 ? std::uint8_t(x < width / 2 ? 0 : 255) : ramp(x, width);
  };
  switch (kind) {
  case PngKind::rgb:
    return png_of(width, height, PNG_FORMAT_RGB, gradient(width, height).data());
  case PngKind::rgba:
    return png_of(width, height, PNG_FORMAT_RGBA, pixels_of<std::uint8_t>(width, height, 4, left_transparent).data());
  case PngKind::gray:
    return png_of(width, height, PNG_FORMAT_GRAY, pixels_of<std::uint8_t>(width, height, 1, gray).data());
  case PngKind::gray_alpha:
    return png_of(width, height, PNG_FORMAT_GA, pixels_of<std::uint8_t>(width, height, 2, gray).data());
  case PngKind::palette: {
    Bytes palette;
    for (int i = 0; i < 256 * 3; ++i) palette.push_back(static_cast<std::uint8_t>(i / 3));
    return png_of(width, height, PNG_FORMAT_RGB_COLORMAP, pixels_of<std::uint8_t>(width, height, 1, gray).data(),
                  palette.data());
  }
  case PngKind::rgb16:
    return png_of(width, height, PNG_FORMAT_LINEAR_RGB,
                  pixels_of<std::uint16_t>(width, height, 3, left_transparent).data());
  }
  return {};
}

Bytes jpeg_file(std::uint32_t width, std::uint32_t height, JpegKind kind) {
  const bool cmyk = kind == JpegKind::cmyk;
  const auto pixels =
      cmyk ? pixels_of<std::uint8_t>(width, height, 4,
                                     [&](auto x, auto, auto c) { return c == 3 ? std::uint8_t{255} : ramp(x, width); })
           : gradient(width, height);
  const int sampling = kind == JpegKind::gray ? TJSAMP_GRAY : TJSAMP_444;
  unsigned char *bytes = nullptr;
  unsigned long size = 0;
  const tjhandle handle = tjInitCompress();
  const int result = tjCompress2(handle, pixels.data(), static_cast<int>(width), 0, static_cast<int>(height),
                                 cmyk ? TJPF_CMYK : TJPF_RGB, &bytes, &size, sampling, 95,
                                 kind == JpegKind::progressive ? TJFLAG_PROGRESSIVE : 0);
  const Bytes file(bytes, bytes + (result == 0 ? size : 0));
  tjFree(bytes);
  tjDestroy(handle);
  return file;
}

}  // namespace auspool::testing
