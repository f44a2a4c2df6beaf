#include "tags/id3/id3v1.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include "auspool/autag2.h"
#include "platform/text.h"
#include "tags/leading_integer.h"

namespace auspool::tags {
namespace {

using View = std::span<const std::uint8_t>;

struct Field {
  std::size_t offset;
  std::size_t size;
};

// All texts are ISO Latin-1, filled up with spaces or NULs.
constexpr Field kMark = {0, 3};
constexpr Field kTitle = {3, 30};
constexpr Field kArtist = {33, 30};
constexpr Field kAlbum = {63, 30};
constexpr Field kYear = {93, 4};
constexpr Field kComment = {97, 30};
constexpr std::size_t kTrackMarkOffset = 125;  // 0 in ID3v1.1, which so ends the comment after 28 bytes
constexpr std::size_t kTrackOffset = 126;
constexpr std::size_t kGenreOffset = 127;

View field(View tag, Field place) {
  return tag.subspan(place.offset, place.size);
}

bool begins_with_mark(View tag) {
  constexpr std::array<std::uint8_t, 3> mark = {'T', 'A', 'G'};
  return std::ranges::equal(field(tag, kMark), mark);
}

// A NUL in the middle ends a text, because what stands behind is left from another one.
std::string text_of(View bytes) {
  bytes = bytes.first(static_cast<std::size_t>(std::ranges::find(bytes, 0) - bytes.begin()));
  while (!bytes.empty() && bytes.back() == ' ') bytes = bytes.first(bytes.size() - 1);
  return platform::decode_text(bytes, platform::Encoding::latin1).value_or("");
}

void add_text(audict &dict, const char *key, View bytes) {
  if (std::string text = text_of(bytes); !text.empty()) add(dict, key, make_string(std::move(text)));
}

void add_comment_and_track(audict &dict, View tag) {
  add_text(dict, "Comment", field(tag, kComment));
  const auto track = static_cast<std::int8_t>(tag[kTrackOffset]);
  if (tag[kTrackMarkOffset] == 0 && track > 0) add(dict, "TrackNum", make_integer(track, AUDICT_INT8));
}

void add_year(audict &dict, View bytes) {
  const std::int32_t year = leading_integer({reinterpret_cast<const char *>(bytes.data()), bytes.size()});
  if (year > 0) add(dict, "Year", make_integer(year, AUDICT_INT32));
}

// The last bytes of the file, tag or not; EIO when it has fewer.
std::int32_t load(platform::File &file, std::array<std::uint8_t, kId3v1Bytes> &tag) {
  return file.size() < kId3v1Bytes ? EIO : file.read(file.size() - kId3v1Bytes, tag);
}

}  // namespace

bool ends_in_id3v1(platform::File &file) {
  std::array<std::uint8_t, kId3v1Bytes> tag;
  return load(file, tag) == 0 && begins_with_mark(tag);
}

std::int32_t autag2_id3_read_v1(audict &dict, platform::File &file) {
  std::array<std::uint8_t, kId3v1Bytes> tag;
  if (const std::int32_t error = load(file, tag)) return error;
  add_text(dict, "Title", field(tag, kTitle));
  add_text(dict, "Artist", field(tag, kArtist));
  add_text(dict, "Album", field(tag, kAlbum));
  add_year(dict, field(tag, kYear));
  add_comment_and_track(dict, tag);
  if (Ref genre{autag2_copy_genre_for_index(tag[kGenreOffset])}) add(dict, "Genre", std::move(genre));
  return 0;
}

}  // namespace auspool::tags
