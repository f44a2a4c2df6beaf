// Builds the frames of chapters: a `CTOC` that names them, and a `CHAP` each.
#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "base/byte_order.h"
#include "platform/text.h"
#include "tags/chapter_keys.h"
#include "tags/id3/build_frames.h"
#include "tags/id3/chapter_frames.h"
#include "tags/id3/chapters.h"
#include "tags/id3/frame_ids.h"
#include "tags/id3/syncsafe.h"
#include "tags/id3/text.h"

namespace auspool::tags {
namespace {

// The count of a table of contents is one byte.
constexpr std::size_t kMaxChapters = 255;

// What is written of one chapter; the values belong to the host's dictionary.
struct Source {
  double start = 0;
  std::optional<double> duration;
  const char *title = nullptr;
  const char *url = nullptr;
  const char *url_title = nullptr;
  const audict *image = nullptr;
};

void take(const char *&value, const audict *dictionary, const char *key) {
  if (const char *text = audict_get_string(dictionary, key)) value = text;
}

void take_image(const audict *&value, const audict *dictionary) {
  if (const audict *image = audict_get(dictionary, kElementImage)) value = image;
}

// Nothing for an element that says no time to start at.
std::optional<Source> source_of(const audict *element) {
  Source source;
  double duration = 0;
  if (!audict_get_float(element, kElementStart, &source.start)) return std::nullopt;
  if (audict_get_float(element, kElementDuration, &duration)) source.duration = duration;
  take(source.title, element, kElementTitle);
  take(source.url, element, "URL");
  take(source.url_title, element, "URLTitle");
  take_image(source.image, element);
  return source;
}

// Up to the first element that is no chapter. Pictures and links go by their place in the arrays, not by their times.
std::vector<Source> sources_of(const audict &chapters, const audict &contents) {
  const audict *images = audict_get(&chapters, kImageTrack);
  const audict *links = audict_get(&chapters, kLinkTrack);
  std::vector<Source> sources;
  for (std::size_t i = 0; i < audict_count(&contents); ++i) {
    auto source = source_of(audict_at(&contents, i));
    if (!source) break;
    take_image(source->image, audict_at(images, i));
    take(source->url, audict_at(links, i), kElementUrl);
    take(source->url_title, audict_at(links, i), kElementTitle);
    sources.push_back(*source);
  }
  return sources;
}

// A frame whose size becomes known at the end of the scope.
class OpenFrame {
public:
  OpenFrame(Bytes &to, std::uint32_t id) : to_(to) {
    add_frame_header(to, id, 0);
    start_ = to.size();
  }
  ~OpenFrame() { store_be(&to_[start_ - kSizeFromData], static_cast<std::uint32_t>(to_.size() - start_)); }
  OpenFrame(const OpenFrame &) = delete;
  OpenFrame &operator=(const OpenFrame &) = delete;

private:
  static constexpr std::size_t kSizeFromData = 6;
  Bytes &to_;
  std::size_t start_;
};

void add_name(Bytes &to, const std::string &name) {
  add_bytes(to, name);
  to.push_back(0);
}

std::string name_of(std::size_t chapter) {
  return "ch" + std::to_string(chapter);
}

template <typename T>
void add_be(Bytes &to, T value) {
  to.resize(to.size() + sizeof value);
  store_be(&to.back() + 1 - sizeof value, value);
}

// The fraction is cut off; what is no time that fits becomes the nearest that does.
std::uint32_t milliseconds(double seconds) {
  constexpr double most = std::numeric_limits<std::uint32_t>::max();
  return std::isnan(seconds) ? 0 : static_cast<std::uint32_t>(std::clamp(seconds * 1000.0, 0.0, most));
}

void add_link(Bytes &to, std::string_view url, std::string_view title) {
  using platform::Encoding;
  const auto latin1 = platform::encode_text(title, Encoding::latin1);
  const auto encoding = latin1 ? Encoding::latin1 : Encoding::utf8;
  const std::string address = platform::encode_text_with(url, Encoding::latin1, '?');
  const auto cut = [](std::string_view text, Encoding in) {
    return platform::whole_characters(text, in, kMaxTextBytes);
  };
  const OpenFrame frame(to, kLinkId);
  to.push_back(latin1 ? kLatin1 : kUtf8);
  add_bytes(to, cut(latin1 ? std::string_view(*latin1) : title, encoding));
  to.push_back(0);
  add_bytes(to, cut(address, Encoding::latin1));
}

void add_contents(Bytes &to, std::size_t count) {
  const OpenFrame frame(to, kContentsId);
  add_name(to, "TOC");
  to.push_back(kTopLevel | kOrdered);
  to.push_back(static_cast<std::uint8_t>(count));
  for (std::size_t i = 0; i < count; ++i) add_name(to, name_of(i));
}

void add_chapter(Bytes &to, const std::string &name, const Source &source) {
  const OpenFrame frame(to, kChapterId);
  add_name(to, name);
  add_be(to, milliseconds(source.start));
  add_be(to, milliseconds(source.start + *source.duration));
  add_be<std::uint64_t>(to, 0);  // the offsets, unused
  if (source.title != nullptr) add_text_frame(to, ttitle.id, source.title);
  if (source.url != nullptr && *source.url != '\0') {
    add_link(to, source.url, source.url_title != nullptr ? source.url_title : "");
  }
  std::size_t size = 0;
  const auto *image = static_cast<const std::uint8_t *>(audict_data(source.image, &size));
  add_picture_frame(to, {image, size}, true);
}

}  // namespace

std::optional<Bytes> autag2_mp3_chapter_create(const audict *chapters) {
  const audict *contents = audict_get(chapters, kContentsTrack);
  if (contents == nullptr) return std::nullopt;
  const std::vector<Source> sources = sources_of(*chapters, *contents);
  const std::size_t count = std::min(sources.size(), kMaxChapters);
  Bytes frames;
  add_contents(frames, count);
  for (std::size_t i = 0; i < count; ++i) {
    if (sources[i].duration) add_chapter(frames, name_of(i), sources[i]);
    if (frames.size() > kMaxSyncsafeSize) return std::nullopt;
  }
  return frames;
}

}  // namespace auspool::tags
