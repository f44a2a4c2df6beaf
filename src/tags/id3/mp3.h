// MP3 files: an ID3v2 tag in front, an ID3v1 tag at the end, or neither.
#pragma once

#include <cstdint>

#include "platform/file.h"
#include "tags/dict/node.h"

namespace auspool::tags {

// By an MPEG sync or an ID3v2 tag at the start, or an ID3v1 tag at the end.
bool autag2_is_mp3(platform::File &file);

// The ID3v2 tag; of a file without one the ID3v1 tag; null without an error when it has neither.
Ref autag2_mp3_read(platform::File &file, const char *path, std::int32_t &error);

// Replaces the ID3v2 tag of a file, and removes its ID3v1 tag.
std::int32_t autag2_mp3_write(const char *path, const audict *tag);

// The chapters of an ID3v2.3 or 2.4 tag; null without an error for a file without one.
Ref autag2_mp3_chapter_read(platform::File &file, std::int32_t &error);

}  // namespace auspool::tags
