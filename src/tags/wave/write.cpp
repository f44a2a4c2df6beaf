#include <array>
#include <limits>

#include "auspool/autag2.h"
#include "base/four_cc.h"
#include "tags/chunks/rewrite.h"
#include "tags/wave/wave.h"

namespace auspool::tags {

std::int32_t autag2_wave_write(const char *path, const audict *tag) {
  static constexpr std::array kTagIds = {four_cc("id3 "), four_cc("ID3 ")};
  static constexpr Container kWave = {.order = Order::little,
                                      .form_id = four_cc("RIFF"),
                                      .largest_size = std::numeric_limits<std::uint32_t>::max(),
                                      .sound_id = four_cc("data"),
                                      .free_id = four_cc("JUNK"),
                                      .tag_ids = kTagIds,
                                      .has_info_list = true};
  const std::optional<Bytes> bytes = autag2_wave_create(tag);
  return bytes ? rewrite(path, kWave, *bytes) : AUTAG2_EUNK;
}

}  // namespace auspool::tags
