#include "platform/flac_metadata.h"

namespace auspool::platform {

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
  return FlacRewrite::kUnavailable;
}

}  // namespace auspool::platform
