#include "platform/flac_metadata.h"

namespace auspool::platform {

bool flac_metadata_is_available() {
  return false;
}
void release_flac_block(void *) {}
FlacBlock make_flac_comments() {
  return nullptr;
}
bool append_flac_comment(void *, const std::string &) {
  return false;
}
FlacBlock make_flac_picture(const FlacPicture &) {
  return nullptr;
}
FlacRewrite rewrite_flac_metadata(const char *, FlacBlock, FlacBlock) {
  return FlacRewrite::kFailed;
}

}  // namespace auspool::platform
