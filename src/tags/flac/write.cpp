#include "tags/flac/flac.h"

namespace auspool::tags {
namespace {

std::int32_t code_of(platform::FlacRewrite result) {
  switch (result) {
  case platform::FlacRewrite::kDone:
    return 0;
  case platform::FlacRewrite::kNoMemory:
    return AUTAG2_EMEM;
  case platform::FlacRewrite::kUnreadable:
    return AUTAG2_EPRS;
  case platform::FlacRewrite::kFailed:
    break;
  }
  return AUTAG2_EUNK;
}

}  // namespace

std::int32_t autag2_flac_write(const char *path, const audict *tag) {
  if (!platform::flac_metadata_is_available()) return AUTAG2_EIMP;
  platform::FlacBlock comments = create_vorbis_comment_block(tag);
  if (!comments) return AUTAG2_EUNK;
  return code_of(platform::rewrite_flac_metadata(path, std::move(comments), create_front_cover_picture_block(tag)));
}

}  // namespace auspool::tags
