// Reads ID3v2.2, 2.3 and 2.4 tags: frame by frame, each by the rule that its id has.
#include <algorithm>
#include <iterator>

#include "auspool/autag2.h"
#include "tags/id3/comment_frame.h"
#include "tags/id3/frame_ids.h"
#include "tags/id3/frames.h"
#include "tags/id3/id3.h"
#include "tags/id3/picture_frame.h"
#include "tags/id3/tag_data.h"
#include "tags/id3/text.h"
#include "tags/id3/text_frames.h"

namespace auspool::tags {
namespace {

using View = std::span<const std::uint8_t>;

// What the rules know of the tag that is being read.
struct Reading {
  audict &tag;
  int major;
  View cover = {};
  bool front_cover_seen = false;
};

void read_comment(Reading &reading, View data) {
  if (auto text = comment_text(data)) set_text(reading.tag, "Comment", std::move(*text));
}

void read_lyrics(Reading &reading, View data) {
  if (auto text = lyrics_text(data)) set_text(reading.tag, "Lyrics", std::move(*text));
}

// The first front cover wins; before one is seen, the first picture of any kind.
void read_picture(Reading &reading, View data) {
  const auto picture = parse_picture(data, reading.major);
  if (!picture) return;
  const bool front = picture->type == kFrontCover;
  const bool has_cover = !reading.cover.empty() || audict_get(&reading.tag, "AlbumCover") != nullptr;
  if (front ? reading.front_cover_seen : has_cover) return;
  reading.cover = picture->image;
  reading.front_cover_seen |= front;
}

// The memory of the tag becomes that of the cover, which mostly fills it, rather than stand beside a copy of it.
void set_cover(Reading &reading, Bytes &tag) {
  if (reading.cover.empty()) return;
  const auto offset = reading.cover.data() - tag.data();
  const std::size_t size = reading.cover.size();
  if (size < tag.size() / 2) {
    set(reading.tag, "AlbumCover", make_data(Bytes(reading.cover.begin(), reading.cover.end())));
    return;
  }
  tag.erase(tag.begin(), tag.begin() + offset);
  tag.resize(size);
  set(reading.tag, "AlbumCover", make_data(std::move(tag)));
}

void read_podcast(Reading &reading, View data) {
  if (data.size() >= 4) set(reading.tag, "ID3Podcast", make_boolean(true));
}

// One of the two functions: for a frame of text, or for other data.
struct Rule {
  FrameId frame;
  const char *key;
  void (*text)(audict &tag, const char *key, std::string text);
  void (*data)(Reading &reading, View data);
  int least_major = 2;
};

constexpr Rule kRules[] = {
    {ttitle, "Title", set_text, nullptr},
    {tartist, "Artist", set_text, nullptr},
    {talbum, "Album", set_text, nullptr},
    {tsidekick, "Sidekick", set_text, nullptr},
    {tencby, "Encoder", set_text, nullptr},
    {tcomposer, "Composer", set_text, nullptr},
    {tgroup, "Grouping", set_text, nullptr},
    {tencsettings, "EncoderSettings", set_text, nullptr},
    {tgenre, "Genre", set_genre, nullptr},
    {tyear, "Year", set_number, nullptr},
    {trectime, "Year", set_number, nullptr, 4},
    {tbpm, "BPM", set_number, nullptr},
    {tcompilation, "Compilation", set_flag, nullptr},
    {ttrack, "TrackNum", set_track, nullptr},
    {tset, "DiscNum", set_disc, nullptr},
    {tcomment, "Comment", nullptr, read_comment},
    {tulyrics, "Lyrics", nullptr, read_lyrics},
    {tpic, "AlbumCover", nullptr, read_picture},
    {tpodcast, "ID3Podcast", nullptr, read_podcast},
};

const Rule *rule_for(std::uint32_t id, int major) {
  const auto *rule = std::find_if(std::begin(kRules), std::end(kRules), [=](const Rule &it) {
    return it.frame.of_version(major) == id && major >= it.least_major;
  });
  return rule != std::end(kRules) ? rule : nullptr;
}

// An encoding byte, and text in it.
std::optional<std::string> frame_text(View data) {
  return data.size() < 2 ? std::nullopt : create_tag_string_data(data.subspan(1), data[0]);
}

void read_frame(Reading &reading, const Frame &frame) {
  const Rule *rule = rule_for(frame.id, reading.major);
  if (rule == nullptr) return;
  if (rule->data != nullptr) {
    rule->data(reading, frame.data);
  } else if (auto text = frame_text(frame.data)) {
    rule->text(reading.tag, rule->key, std::move(*text));
  }
}

}  // namespace

std::int32_t autag2_id3_read_v2(audict &dict, std::uint64_t offset, platform::File &file) {
  TagData data;
  if (const std::int32_t error = load_tag(file, offset, 2, data)) return error;
  Reading reading = {dict, data.major};
  FrameWalk walk(data.frames, data.major);
  while (const auto frame = walk.next()) read_frame(reading, *frame);
  set_cover(reading, data.bytes);
  return 0;
}

}  // namespace auspool::tags
