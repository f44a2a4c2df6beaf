// Reads chapters: the names from the table of contents, then the frame of each name, wherever it stands.
#include <algorithm>
#include <map>

#include "auspool/autag2.h"
#include "tags/chapter_keys.h"
#include "tags/id3/chapter_frames.h"
#include "tags/id3/chapters.h"
#include "tags/id3/frames.h"
#include "tags/id3/tag_data.h"

namespace auspool::tags {
namespace {

using Chapters = std::vector<Chapter>;

// The chapters of the first table of contents at top level, their names alone.
std::optional<Chapters> listed_chapters(const TagData &tag) {
  FrameWalk walk(tag.frames, tag.major);
  while (const auto frame = walk.next()) {
    if (frame->id != kContentsId) continue;
    const auto contents = parse_contents(frame->data);
    if (!contents || (contents->flags & kTopLevel) == 0) continue;
    const auto names = entries_of(frame->data, *contents);
    if (!names) return std::nullopt;
    Chapters chapters(names->size());
    for (std::size_t i = 0; i < chapters.size(); ++i) chapters[i].name = (*names)[i];
    return chapters;
  }
  return std::nullopt;
}

// Whether every chapter has got its frame. Of chapters of one name the first gets the first frame.
bool resolve(const TagData &tag, Chapters &chapters) {
  std::multimap<std::string_view, Chapter *> unresolved;
  for (Chapter &chapter : chapters) unresolved.emplace(chapter.name, &chapter);
  FrameWalk walk(tag.frames, tag.major);
  while (!unresolved.empty()) {
    const auto frame = walk.next();
    if (!frame) return false;
    if (frame->id != kChapterId) continue;
    const auto name = chapter_name(frame->data);
    const auto entry = name ? unresolved.lower_bound(*name) : unresolved.end();
    if (entry == unresolved.end() || entry->first != *name) continue;
    *entry->second = parse_chapter(frame->data, tag.major);
    unresolved.erase(entry);
  }
  return true;
}

Ref element_of(const Chapter &chapter) {
  Ref element = make_dictionary();
  set(*element, kElementStart, make_float(chapter.start_seconds));
  set(*element, kElementDuration, make_float(chapter.duration_seconds));
  return element;
}

Ref contents_element(const Chapter &chapter) {
  Ref element = element_of(chapter);
  set(*element, kElementTitle, make_string(chapter.title));
  return element;
}

Ref image_element(const Chapter &chapter) {
  Ref element = element_of(chapter);
  const auto image = chapter.image.value_or(std::span<const std::uint8_t>());
  set(*element, kElementImage, make_data(Bytes(image.begin(), image.end())));
  return element;
}

Ref link_element(const Chapter &chapter) {
  Ref element = element_of(chapter);
  const Link link = chapter.link.value_or(Link());
  set(*element, kElementUrl, make_string(link.url));
  if (link.title) set(*element, kElementTitle, make_string(*link.title));
  return element;
}

void set_track(audict &dict, const char *key, const Chapters &chapters, Ref (*element)(const Chapter &)) {
  Ref track = make_array();
  for (const Chapter &chapter : chapters) append(*track, element(chapter));
  set(dict, key, std::move(track));
}

}  // namespace

std::int32_t autag2_id3_chapter_read(audict &dict, std::uint64_t offset, platform::File &file) {
  TagData tag;
  const std::int32_t error = load_tag(file, offset, 3, tag);
  if (error != 0) return error == AUTAG2_ETAG || error == AUTAG2_EUNK ? error : AUTAG2_EPRS;
  auto chapters = listed_chapters(tag);
  if (!chapters || !resolve(tag, *chapters)) return AUTAG2_EPRS;
  std::ranges::stable_sort(*chapters, {}, &Chapter::start_seconds);
  const auto any = [&](const auto &has) { return std::ranges::any_of(*chapters, has); };
  set_track(dict, kContentsTrack, *chapters, contents_element);
  if (any([](const Chapter &it) { return it.link.has_value(); })) {
    set_track(dict, kLinkTrack, *chapters, link_element);
  }
  if (any([](const Chapter &it) { return it.image.has_value(); })) {
    set_track(dict, kImageTrack, *chapters, image_element);
  }
  return 0;
}

}  // namespace auspool::tags
