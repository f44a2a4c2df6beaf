// Tags of MPEG-4 files.
//
//   moov                          the index of the file; its place may be in front of the audio or behind it
//     udta
//       meta                      version and flags, then children
//         hdlr                    handler "mdir", manufacturer "appl"
//         ilst                    an item for each thing known
//           (c)nam, trkn, ...     its name says what it is; (c) stands for the byte A9
//             data                0 size  4 "data"  8 type  12 locale  16 payload
#pragma once

#include <cstdint>
#include <optional>

#include "platform/file.h"
#include "tags/dict/node.h"

namespace auspool::tags {

bool autag2_is_m4a(platform::File &file);
// A file without tags gives an empty dictionary, unless it is a movie: then title and cover come from the file itself.
Ref autag2_m4a_read(platform::File &file, const char *path, std::int32_t &error);
// A whole `udta`, or nothing for a null tag.
std::optional<Bytes> autag2_udta_create(const audict *tag);
// Replaces `udta`, and mends every offset in the file that a longer or shorter `moov` makes wrong.
std::int32_t autag2_m4a_write(const char *path, const audict *tag);

}  // namespace auspool::tags
