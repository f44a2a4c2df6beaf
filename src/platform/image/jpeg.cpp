#include <turbojpeg.h>

#include <memory>

#include "base/byte_order.h"
#include "platform/image/codecs.h"

namespace auspool::platform {
namespace {

struct Destroy {
  void operator()(void *handle) const { tjDestroy(handle); }
};
using Handle = std::unique_ptr<void, Destroy>;

struct Free {
  void operator()(unsigned char *bytes) const { tjFree(bytes); }
};

constexpr int kQuality = 90;

// What follows the marker of a frame header (ITU-T T.81, B.2.2), counted from its length field.
//
//   0  2  length
//   2  1  bits a sample
//   3  2  height
//   5  2  width
//   7  1  components
constexpr std::size_t kFrameHeaderBytes = 8;

bool is_start_of_frame(std::uint8_t marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

// Markers that stand alone, without a length behind them.
bool is_bare(std::uint8_t marker) {
  return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8);
}

// Adobe's writers, the only ones in use, store the inverse of the four inks.
void cmyk_to_rgb(std::span<const std::uint8_t> cmyk, std::span<std::uint8_t> rgb) {
  for (std::size_t pixel = 0; pixel < cmyk.size() / 4; ++pixel) {
    const std::uint8_t *from = &cmyk[pixel * 4];
    for (std::size_t i = 0; i < 3; ++i) rgb[pixel * 3 + i] = static_cast<std::uint8_t>(from[i] * from[3] / 255);
  }
}

// Damage in the coded data is a warning to the decoder, which fills in what it lost.
bool decode_as(tjhandle handle, std::span<const std::uint8_t> file, const Bitmap &size, int format, std::uint8_t *to) {
  const int result = tjDecompress2(handle, file.data(), file.size(), to, static_cast<int>(size.width), 0,
                                   static_cast<int>(size.height), format, TJFLAG_LIMITSCANS);
  return result == 0 || tjGetErrorCode(handle) == TJERR_WARNING;
}

}  // namespace

std::optional<ImageInfo> jpeg_info(std::span<const std::uint8_t> file) {
  std::size_t at = 0;
  while (at + 2 + kFrameHeaderBytes <= file.size() && file[at] == 0xFF) {
    const std::uint8_t marker = file[at + 1];
    const std::uint8_t *segment = &file[at + 2];
    if (marker == 0xFF) {
      ++at;
    } else if (is_bare(marker)) {
      at += 2;
    } else if (is_start_of_frame(marker)) {
      return ImageInfo{load_be<std::uint16_t>(segment + 5), load_be<std::uint16_t>(segment + 3),
                       std::uint32_t{segment[2]} * segment[7]};
    } else {
      at += 2 + load_be<std::uint16_t>(segment);
    }
  }
  return std::nullopt;
}

bool decode_jpeg(std::span<const std::uint8_t> file, Bitmap &bitmap) {
  const Handle handle(tjInitDecompress());
  if (!handle) return false;
  int width = 0, height = 0, subsampling = 0, colours = 0;
  const bool known =
      tjDecompressHeader3(handle.get(), file.data(), file.size(), &width, &height, &subsampling, &colours) == 0;
  if (known && (colours == TJCS_CMYK || colours == TJCS_YCCK)) {
    std::vector<std::uint8_t> cmyk(bitmap.rgb.size() / 3 * 4);
    if (!decode_as(handle.get(), file, bitmap, TJPF_CMYK, cmyk.data())) return false;
    cmyk_to_rgb(cmyk, bitmap.rgb);
    return true;
  }
  return decode_as(handle.get(), file, bitmap, TJPF_RGB, bitmap.rgb.data());
}

std::optional<std::vector<std::uint8_t>> encode_jpeg(const Bitmap &bitmap) {
  if (bitmap.width == 0 || bitmap.height == 0 || bitmap.rgb.size() / 3 / bitmap.width != bitmap.height) return {};
  const Handle handle(tjInitCompress());
  if (!handle) return std::nullopt;
  unsigned char *bytes = nullptr;
  unsigned long size = 0;
  const int result = tjCompress2(handle.get(), bitmap.rgb.data(), static_cast<int>(bitmap.width), 0,
                                 static_cast<int>(bitmap.height), TJPF_RGB, &bytes, &size, TJSAMP_420, kQuality, 0);
  const std::unique_ptr<unsigned char, Free> owner(bytes);
  if (result != 0) return std::nullopt;
  return std::vector<std::uint8_t>(bytes, bytes + size);
}

}  // namespace auspool::platform
