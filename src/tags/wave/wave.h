// Tags of WAVE files.
//
//   0   4  "RIFF"
//   4   4  RIFF size, little-endian, unsigned: the length of all that follows
//   8   4  form type, not looked at
//   12     chunks, among them:  LIST              with the type `INFO` and in it texts in code page 1252:
//                                 INAM  IART  ICMT  ISFT   title, artist, comment, encoder
//                                 ICRD                     date, beginning with the year
//                               id3  ID3  ID32    a whole ID3 tag; `id3 ` is written
#pragma once

#include <cstdint>
#include <optional>

#include "platform/file.h"
#include "tags/dict/node.h"

namespace auspool::tags {

bool autag2_is_wave(platform::File &file);
Ref autag2_wave_read(platform::File &file, const char *path, std::int32_t &error);
// Nothing for a null tag, and when the ID3 tag cannot be made.
std::optional<Bytes> autag2_wave_create(const audict *tag);
std::int32_t autag2_wave_write(const char *path, const audict *tag);

}  // namespace auspool::tags
