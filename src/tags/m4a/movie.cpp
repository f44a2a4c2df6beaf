#include "tags/m4a/movie.h"

#include <string>
#include <string_view>

#include "base/utf8.h"
#include "platform/thumbnail.h"
#include "tags/m4a/find_atom.h"

namespace auspool::tags {
namespace {

bool has_video_track(platform::File &file) {
  constexpr int kMostTracks = 255;
  std::uint64_t offset = 0;
  for (int i = 0; i < kMostTracks; ++i) {
    const std::string track = "moov.trak-" + std::to_string(i);
    if (!find_atom(file, 0, track, offset)) return false;
    if (find_atom(file, 0, track + ".mdia.minf.vmhd", offset)) return true;
  }
  return false;
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
