// Builds one track of chapters: a fixed record that tells of it, and four tables that tell of its samples.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "tags/dict/node.h"

namespace auspool::tags {

enum class TrackKind { contents, image, link };

struct PictureSize {
  std::uint32_t width = 128, height = 128;  // pixels
};

// What makes an element's sample; nothing stops the track.
using SampleFunction = std::function<std::optional<Bytes>(const audict &element)>;

// Appends the track to `traks` and its samples to `mdat`. A track that stops halfway leaves `traks` as it was: at an
// element without times, or one that begins before the one in front of it has ended for longer than it lasts.
void create_track(Bytes &traks, Bytes &mdat, const audict *elements, TrackKind kind, PictureSize size,
                  const SampleFunction &sample);

}  // namespace auspool::tags
