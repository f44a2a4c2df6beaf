// Whether a JPEG file is of the kind that every player of MPEG-4 shows.
#pragma once

#include <cstdint>
#include <span>

namespace auspool::tags {

// Walks the markers: baseline when the first frame is of type 0. Progressive and other kinds are not.
bool is_baseline_jpeg(std::span<const std::uint8_t> file);

}  // namespace auspool::tags
