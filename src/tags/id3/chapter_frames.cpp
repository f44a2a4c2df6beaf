#include "tags/id3/chapter_frames.h"

#include "base/byte_order.h"
#include "tags/id3/frame_ids.h"
#include "tags/id3/frames.h"
#include "tags/id3/picture_frame.h"
#include "tags/id3/text.h"

namespace auspool::tags {
namespace {

using View = std::span<const std::uint8_t>;

// Behind the name of a chapter:
//
//   0   4  start, milliseconds
//   4   4  end, milliseconds
//   8   8  offsets of both in the file, which nobody can rely on
//   16     frames
constexpr std::size_t kEndOffset = 4;
constexpr std::size_t kFramesOffset = 16;

std::string_view characters(View bytes) {
  return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

std::optional<std::string_view> take_name(View &rest) {
  const auto name = take_string(rest, kLatin1);
  return name ? std::optional(characters(*name)) : std::nullopt;
}

std::string title_of(View frame) {
  return frame.empty() ? std::string() : create_tag_string_data(frame.subspan(1), frame[0]).value_or("");
}

// Encoding, a description with its NUL, the address in ISO Latin-1.
Link link_of(View frame) {
  Link link;
  if (frame.empty()) return link;
  const std::uint8_t encoding = frame[0];
  View rest = frame.subspan(1);
  const auto description = take_string(rest, encoding);
  if (!description) return link;
  link.url = create_tag_string_data(rest, kLatin1).value_or("");
  if (description->size() >= 2) link.title = create_tag_string_data(*description, encoding);
  return link;
}

View image_of(View frame, int major) {
  const auto picture = parse_picture(frame, major);
  return picture ? picture->image : View();
}

}  // namespace

std::optional<Contents> parse_contents(View frame) {
  if (!take_name(frame) || frame.empty()) return std::nullopt;
  return Contents{frame[0], frame.subspan(1)};
}

std::optional<std::vector<std::string_view>> entries_of(View frame, const Contents &contents) {
  View rest = contents.counted_entries;
  if (rest.empty() || rest[0] == 0) return std::nullopt;
  const std::size_t count = rest[0];
  if (2 * count > frame.size() - 2) return std::nullopt;
  rest = rest.subspan(1);
  std::vector<std::string_view> names;
  while (names.size() < count) {
    const auto name = take_name(rest);
    if (!name) return std::nullopt;
    names.push_back(*name);
  }
  return names;
}

std::optional<std::string_view> chapter_name(View frame) {
  const auto name = take_name(frame);
  return frame.size() < kFramesOffset ? std::nullopt : name;
}

Chapter parse_chapter(View frame, int major) {
  Chapter chapter;
  chapter.name = take_name(frame).value_or("");
  const auto start = load_be<std::uint32_t>(frame.data());
  const auto end = load_be<std::uint32_t>(frame.data() + kEndOffset);
  chapter.start_seconds = start / 1000.0;
  chapter.duration_seconds = static_cast<std::int32_t>(end - start) / 1000.0;
  std::optional<std::string> title;
  FrameWalk walk(frame.subspan(kFramesOffset), major);
  while (const auto inner = walk.next()) {
    if (inner->id == ttitle.id && !title) title = title_of(inner->data);
    if (inner->id == kLinkId && !chapter.link) chapter.link = link_of(inner->data);
    if (inner->id == tpic.id && !chapter.image) chapter.image = image_of(inner->data, major);
  }
  chapter.title = title.value_or("");
  return chapter;
}

}  // namespace auspool::tags
