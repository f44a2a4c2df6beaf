// VORBIS_COMMENT blocks. All lengths are little-endian.
//
//   0    4  length of the vendor's name
//   4    v  vendor's name
//   4+v  4  count of comments
//           comments: 4 bytes of length, and "NAME=value" in UTF-8
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/file.h"
#include "tags/dict/node.h"
#include "tags/flac/picture.h"

namespace auspool::tags {

// A place of a file from which numbers and bytes are taken, up to the end of a block.
struct FlacCursor {
  platform::File &file;
  std::uint64_t at, end;
};

// Puts the comments of a block into the dictionary, those that have no key there into `unknown`, as arrays of name and
// value.
std::int32_t read_flac_comments(audict &dict, audict &unknown, CoverChoice &covers, FlacCursor block);

// One comment.
void read_flac_comment(audict &dict, audict &unknown, CoverChoice &covers, std::string_view comment);

}  // namespace auspool::tags
