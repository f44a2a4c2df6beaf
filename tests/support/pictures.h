// Picture files made at test time.
#pragma once

#include <cstdint>
#include <vector>

namespace auspool::testing {

using Bytes = std::vector<std::uint8_t>;

// RGB pixels that vary smoothly, so that JPEG keeps them nearly as they are.
Bytes gradient(std::uint32_t width, std::uint32_t height);

enum class PngKind { rgb, rgba, gray, gray_alpha, palette, rgb16 };

// A gradient as a PNG file. With an alpha channel its left half is transparent.
Bytes png_file(std::uint32_t width, std::uint32_t height, PngKind kind = PngKind::rgb);

enum class JpegKind { baseline, progressive, gray, cmyk };

Bytes jpeg_file(std::uint32_t width, std::uint32_t height, JpegKind kind = JpegKind::baseline);

}  // namespace auspool::testing
