// Tags of FLAC files.
//
//   0   4  "fLaC"
//   4      blocks:  0   1  the type; its highest bit marks the last block
//                   1   3  length of what follows, big-endian
//          among them:  4  VORBIS_COMMENT  texts and numbers (comments.h)
//                       6  PICTURE         a cover (picture.h)
//
// Files are read here, and rewritten by libFLAC.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "auspool/autag2.h"
#include "platform/file.h"
#include "platform/flac_metadata.h"
#include "tags/dict/node.h"

namespace auspool::tags {

bool autag2_is_flac(platform::File &file);
Ref autag2_flac_read(platform::File &file, const char *path, std::int32_t &error);
// Puts what there is into the dictionary, and goes on behind a broken block; gives the last error.
std::int32_t autag2_flac_read_priv(audict &dict, platform::File &file);

std::int32_t autag2_flac_write(const char *path, const audict *tag);

// The dictionary as a binary property list. FLAC's own blocks are for an encoder and come from the next one.
std::optional<Bytes> autag2_flac_create(const audict *tag);
// Blocks for an encoder, that of the comments first; null when there is none.
autag2_data *autag2_flac_create_data(const audict *tag);
void flac_tag_dispose_func(void *block);

// The blocks alone. Null for a null tag, where memory ran out, and for what FLAC has no room for; the second also
// without a JPEG or PNG under "AlbumCover".
platform::FlacBlock create_vorbis_comment_block(const audict *tag);
platform::FlacBlock create_front_cover_picture_block(const audict *tag);
// Appends "NAME=value"; false where that is not possible.
bool add_vorbis_entry(void *object, std::string_view name, std::string_view value);

}  // namespace auspool::tags
