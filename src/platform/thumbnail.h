// A small picture of a film. Built on libavformat, libavcodec and libswscale; in a build without them there is none.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace auspool::platform {

// A frame of the file's first video stream as JPEG, no side longer than `side` pixels and never enlarged; nothing where
// the file cannot be decoded.
std::optional<std::vector<std::uint8_t>> video_thumbnail(const char *path, std::uint32_t side);

}  // namespace auspool::platform
