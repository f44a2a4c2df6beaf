// Scaling through libswscale.
#pragma once

extern "C" {
#include <libavutil/pixfmt.h>
}

#include <cstdint>
#include <optional>

#include "platform/image.h"

namespace auspool::platform {

// A picture as libav holds it.
struct AvPicture {
  AVPixelFormat format;
  int width, height;
  const std::uint8_t *const *planes;
  const int *strides;
};

std::optional<Bitmap> scale(const AvPicture &picture, int width, int height);

}  // namespace auspool::platform
