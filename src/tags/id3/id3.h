// ID3 tags, alone in MP3 files and embedded in the chunks of AIFF, WAVE and CAF files.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/file.h"
#include "tags/dict/node.h"

namespace auspool::tags {

// Fills `dict` from the ID3v2 tag at `offset` of the file; what is there is replaced. Returns a result code of
// autag2.h, with what was read before a failure in `dict`.
std::int32_t autag2_id3_read_v2(audict &dict, std::uint64_t offset, platform::File &file);

// A whole ID3v2.3 tag; a null `tag` gives a header of 10 bytes with size 0. Nothing when the tag would be larger than
// its header can say.
std::optional<Bytes> autag2_id3_create(const audict *tag);

}  // namespace auspool::tags
