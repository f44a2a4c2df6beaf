#include <array>
#include <limits>

#include "auspool/autag2.h"
#include "base/four_cc.h"
#include "tags/aiff/aiff.h"
#include "tags/chunks/rewrite.h"

namespace auspool::tags {

std::int32_t autag2_aiff_write(const char *path, const audict *tag) {
  static constexpr std::array kTagIds = {four_cc("ID3 "), four_cc("NAME"), four_cc("(c) "), four_cc("ANNO"),
                                         four_cc("AUTH")};
  static constexpr Container kAiff = {.order = Order::big,
                                      .form_id = four_cc("FORM"),
                                      .largest_size = std::numeric_limits<std::int32_t>::max(),
                                      .sound_id = four_cc("SSND"),
                                      .free_id = four_cc("FREE"),
                                      .tag_ids = kTagIds,
                                      .has_info_list = false};
  const std::optional<Bytes> bytes = autag2_aiff_create(tag);
  return bytes ? rewrite(path, kAiff, *bytes) : AUTAG2_EUNK;
}

}  // namespace auspool::tags
