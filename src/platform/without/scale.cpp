#include "platform/image.h"

namespace auspool::platform {

std::optional<Bitmap> scale_image(const Bitmap &, std::uint32_t, std::uint32_t) {
  return std::nullopt;
}

}  // namespace auspool::platform
