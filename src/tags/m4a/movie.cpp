#include "tags/m4a/movie.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "base/utf8.h"
#include "platform/thumbnail.h"
#include "tags/m4a/find_atom.h"

namespace auspool::tags {
namespace {

bool has_video_track(platform::File &file) {
  const std::vector<std::uint64_t> tracks = find_tracks(file);
  return std::any_of(tracks.begin(), tracks.end(), [&file](std::uint64_t track) {
    std::uint64_t offset = 0;
    return find_atom(file, track, "trak.mdia.minf.vmhd", offset);
  });
}

std::string name_of(std::string_view path) {
  path.remove_prefix(path.rfind('/') + 1);  // 0 where there is no folder
  const std::size_t dot = path.rfind('.');
  return std::string(dot == 0 ? path : path.substr(0, dot));
}

}  // namespace

void read_movie(audict &tag, platform::File &file, const char *path) {
  constexpr std::uint32_t kSide = 320;
  const bool titled = audict_get(&tag, "Title") != nullptr, covered = audict_get(&tag, "AlbumCover") != nullptr;
  if ((titled && covered) || !has_video_track(file)) return;
  if (std::string name = name_of(path); !titled && valid_utf8(name)) add(tag, "Title", make_string(std::move(name)));
  if (covered) return;
  if (auto picture = platform::video_thumbnail(path, kSide)) add(tag, "AlbumCover", make_data(std::move(*picture)));
}

}  // namespace auspool::tags
