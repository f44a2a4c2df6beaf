#include "platform/thumbnail.h"

namespace auspool::platform {

std::optional<std::vector<std::uint8_t>> video_thumbnail(const char *, std::uint32_t) {
  return std::nullopt;
}

}  // namespace auspool::platform
