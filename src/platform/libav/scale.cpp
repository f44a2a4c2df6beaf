#include "platform/libav/scale.h"

extern "C" {
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <memory>

namespace auspool::platform {
namespace {

constexpr std::size_t kVectorBytes = 64;  // the scaler reads and writes whole vectors, beyond the ends of rows too

}  // namespace

std::optional<Bitmap> scale(const AvPicture &picture, int width, int height) {
  const std::unique_ptr<SwsContext, void (*)(SwsContext *)> scaler(
      sws_getContext(picture.width, picture.height, picture.format, width, height, AV_PIX_FMT_RGB24, SWS_AREA, nullptr,
                     nullptr, nullptr),
      sws_freeContext);
  if (!scaler) return std::nullopt;
  constexpr int kVector = kVectorBytes;
  const int stride = (3 * width + 2 * kVector - 1) / kVector * kVector;
  std::vector<std::uint8_t> rows(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height) + kVectorBytes);
  std::uint8_t *const planes[4] = {rows.data()};
  const int strides[4] = {stride};
  if (sws_scale(scaler.get(), picture.planes, picture.strides, 0, picture.height, planes, strides) != height) return {};
  Bitmap bitmap{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), {}};
  for (int row = 0; row < height; ++row) {
    const auto from = rows.begin() + std::ptrdiff_t{row} * stride;
    bitmap.rgb.insert(bitmap.rgb.end(), from, from + 3 * width);
  }
  return bitmap;
}

std::optional<Bitmap> scale_image(const Bitmap &bitmap, std::uint32_t width, std::uint32_t height) {
  const int from_width = static_cast<int>(bitmap.width), from_height = static_cast<int>(bitmap.height);
  if (bitmap.rgb.empty() || width == 0 || height == 0) return std::nullopt;
  std::vector<std::uint8_t> rows(bitmap.rgb.size() + kVectorBytes);
  std::copy(bitmap.rgb.begin(), bitmap.rgb.end(), rows.begin());
  const std::uint8_t *const planes[4] = {rows.data()};
  const int strides[4] = {3 * from_width};
  return scale({AV_PIX_FMT_RGB24, from_width, from_height, planes, strides}, static_cast<int>(width),
               static_cast<int>(height));
}

}  // namespace auspool::platform
