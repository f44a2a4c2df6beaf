// The absolute offsets in an MPEG-4 file, and their repair when the audio moves.
#pragma once

#include <cstdint>
#include <span>

#include "platform/file.h"

namespace auspool::tags {

// Adds to every chunk offset of every track in a `moov`. Additions wrap around.
void move_chunk_offsets(std::span<std::uint8_t> moov, std::int64_t shift);

// Adds to the base offset of each track in each fragment that has one, in the file.
std::int32_t move_fragment_offsets(platform::File &file, std::int64_t shift);

}  // namespace auspool::tags
