// Builds ID3v2.3 tags.
#include <iterator>
#include <span>
#include <string_view>

#include "tags/id3/build_frames.h"
#include "tags/id3/frame_ids.h"
#include "tags/id3/id3.h"
#include "tags/id3/syncsafe.h"
#include "tags/id3/tag_data.h"

namespace auspool::tags {
namespace {

using namespace std::string_view_literals;

constexpr std::uint8_t id3_header[kId3HeaderBytes] = {'I', 'D', '3', 3, 0, 0, 0, 0, 0, 0};
constexpr std::uint32_t kLength = four_cc("TLEN");
constexpr std::uint32_t kPodcastFeed = four_cc("WFD ");

void add_text(Bytes &to, std::uint32_t id, const audict &tag, const char *key) {
  if (const char *text = audict_get_string(&tag, key)) add_text_frame(to, id, text);
}

void add_number(Bytes &to, std::uint32_t id, const audict &tag, const char *key) {
  add_number_frame(to, id, audict_get(&tag, key));
}

void add_flag(Bytes &to, std::uint32_t id, const audict &tag, const char *key) {
  bool flag = false;
  if (audict_get_boolean(&tag, key, &flag) && flag) add_text_frame(to, id, "1");
}

void add_track(Bytes &to, std::uint32_t id, const audict &tag, const char *key) {
  add_number_total_frame_if_present(to, id, tag, key, "TrackTotal");
}

void add_disc(Bytes &to, std::uint32_t id, const audict &tag, const char *key) {
  add_number_total_frame_if_present(to, id, tag, key, "DiscTotal");
}

// The frames that programs for podcasts look for are zeros.
void add_podcast(Bytes &to, std::uint32_t id, const audict &tag, const char *key) {
  if (audict_get(&tag, key) == nullptr) return;
  add_frame_header(to, id, 4);
  add_bytes(to, "\0\0\0\0"sv);
  add_frame_header(to, kPodcastFeed, 2);
  add_bytes(to, "\0\0"sv);
}

std::span<const std::uint8_t> data_of(const audict *tag, const char *key) {
  std::size_t size = 0;
  const auto *bytes = static_cast<const std::uint8_t *>(audict_get_data(tag, key, &size));
  return {bytes, size};
}

void add_cover(Bytes &to, std::uint32_t, const audict &tag, const char *key) {
  add_picture_frame(to, data_of(&tag, key), false);
}

struct Part {
  std::uint32_t id;
  const char *key;
  void (*add)(Bytes &to, std::uint32_t id, const audict &tag, const char *key);
};

// In the order in which they are written.
constexpr Part kParts[] = {
    {ttitle.id, "Title", add_text},
    {tartist.id, "Artist", add_text},
    {tsidekick.id, "Sidekick", add_text},
    {talbum.id, "Album", add_text},
    {tgenre.id, "Genre", add_text},
    {tencby.id, "Encoder", add_text},
    {tgroup.id, "Grouping", add_text},
    {tcomposer.id, "Composer", add_text},
    {tencsettings.id, "EncoderSettings", add_text},
    {tcomment.id, "Comment", add_text_ext_frame_if_present},
    {tulyrics.id, "Lyrics", add_text_ext_frame_if_present},
    {tyear.id, "Year", add_number},
    {tbpm.id, "BPM", add_number},
    {kLength, "TrackLength", add_number},
    {tcompilation.id, "Compilation", add_flag},
    {ttrack.id, "TrackNum", add_track},
    {tset.id, "DiscNum", add_disc},
    {tpodcast.id, "ID3Podcast", add_podcast},
    {tpic.id, "AlbumCover", add_cover},
};

}  // namespace

std::optional<Bytes> autag2_id3_create(const audict *tag) {
  if (data_of(tag, "AlbumCover").size() > kMaxSyncsafeSize) return std::nullopt;  // before it is copied
  Bytes bytes(std::begin(id3_header), std::end(id3_header));
  for (const Part &part : kParts) {
    if (tag != nullptr) part.add(bytes, part.id, *tag, part.key);
  }
  const std::size_t size = bytes.size() - kId3HeaderBytes;
  if (size > kMaxSyncsafeSize) return std::nullopt;
  encode_syncsafe_size(static_cast<std::uint32_t>(size), &bytes[kId3SizeOffset]);
  return bytes;
}

}  // namespace auspool::tags
