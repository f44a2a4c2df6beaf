// Tags of AIFF and AIFF-C files.
//
//   0   4  "FORM"
//   4   4  form size, big-endian, signed: the length of all that follows
//   8   4  form type, not looked at
//   12     chunks, among them:  NAME  AUTH  ANNO  texts in Mac Roman: title, artist, comment
//                               (c)               year in digits
//                               ID3               a whole ID3 tag
#pragma once

#include <cstdint>
#include <optional>

#include "platform/file.h"
#include "tags/dict/node.h"

namespace auspool::tags {

bool autag2_is_aiff(platform::File &file);
Ref autag2_aiff_read(platform::File &file, const char *path, std::int32_t &error);
// Nothing for a null tag, and when the ID3 tag cannot be made.
std::optional<Bytes> autag2_aiff_create(const audict *tag);
std::int32_t autag2_aiff_write(const char *path, const audict *tag);

}  // namespace auspool::tags
