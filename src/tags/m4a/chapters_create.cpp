#include "base/four_cc.h"
#include "tags/chapter_keys.h"
#include "tags/m4a/chapter_samples.h"
#include "tags/m4a/chapter_track.h"
#include "tags/m4a/chapters.h"
#include "tags/m4a/words.h"

namespace auspool::tags {

std::optional<Bytes> autag2_qt_chapter_create(const audict *chapters) {
  constexpr std::size_t kHeaderBytes = 8;
  if (chapters == nullptr) return std::nullopt;
  Bytes traks, samples;
  if (const audict *contents = audict_get(chapters, kContentsTrack)) {
    create_track(traks, samples, contents, TrackKind::contents, {}, create_text_sample);
  }
  if (const audict *images = audict_get(chapters, kImageTrack)) {
    const PictureSize size = size_of_track(images);
    create_track(traks, samples, merge_images(images).get(), TrackKind::image, size,
                 [size](const audict &element) { return create_image_sample(element, size); });
  }
  if (const audict *links = audict_get(chapters, kLinkTrack)) {
    create_track(traks, samples, links, TrackKind::link, {}, create_text_sample);
  }
  if (samples.empty() || samples.size() > UINT32_MAX - kHeaderBytes) return std::nullopt;
  append_words(traks, {kHeaderBytes + samples.size(), four_cc("mdat")});
  traks.insert(traks.end(), samples.begin(), samples.end());
  return traks;
}

}  // namespace auspool::tags
