// Chapters of MP3 files: `CHAP` frames, in the order that a `CTOC` frame gives them.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/file.h"
#include "tags/dict/node.h"

namespace auspool::tags {

// Fills a chapter dictionary from the ID3v2.3 or 2.4 tag at `offset` of the file. Returns a result code of autag2.h;
// the dictionary stays empty unless that is 0.
std::int32_t autag2_id3_chapter_read(audict &dict, std::uint64_t offset, platform::File &file);

// The frames for a chapter dictionary, to be put into an ID3v2.3 tag; nothing when it has no table of contents.
std::optional<Bytes> autag2_mp3_chapter_create(const audict *chapters);

}  // namespace auspool::tags
