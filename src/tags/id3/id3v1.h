// ID3v1: the last 128 bytes of a file.
#pragma once

#include <cstdint>

#include "platform/file.h"
#include "tags/dict/node.h"

namespace auspool::tags {

constexpr std::uint64_t kId3v1Bytes = 128;

// Whether the file ends in such a tag. A file that is too short, or cannot be read there, does not.
bool ends_in_id3v1(platform::File &file);

// Fills `dict` from the tag; what is there stays. Returns 0 or an errno value.
std::int32_t autag2_id3_read_v1(audict &dict, platform::File &file);

}  // namespace auspool::tags
