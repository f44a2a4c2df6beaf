// The lists of genres, in a property list that is installed with the library.
#include <mutex>

#include "auspool/autag2.h"
#include "platform/property_list.h"
#include "platform/resource.h"
#include "tags/dict/node.h"
#include "tags/guard.h"

namespace auspool::tags {
namespace {

// Loaded on first use and kept; what failed to load is tried again by the next call.
const audict *lists() {
  static std::mutex mutex;
  static audict *loaded = nullptr;
  const std::lock_guard lock(mutex);
  if (loaded == nullptr) loaded = platform::read_property_list(platform::read_resource("genres.plist"));
  return loaded;
}

}  // namespace
}  // namespace auspool::tags

using namespace auspool::tags;

const audict *autag2_genre_list(std::int32_t kind) {
  if (kind != AUTAG2_GENRES_ID3 && kind != AUTAG2_GENRES_ITUNES) return nullptr;
  return guarded<const audict *>(nullptr,
                                 [kind] { return audict_get(lists(), kind == AUTAG2_GENRES_ID3 ? "id3" : "itunes"); });
}

audict *autag2_copy_genre_for_index(std::int32_t index) {
  if (index < 0) return nullptr;
  return audict_retain(audict_at(autag2_genre_list(AUTAG2_GENRES_ID3), static_cast<std::size_t>(index)));
}
