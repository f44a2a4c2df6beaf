// The samples of chapters: texts with links, and pictures.
#pragma once

#include <cstdint>
#include <optional>

#include "tags/dict/node.h"
#include "tags/m4a/chapter_track.h"

namespace auspool::tags {

// Title and link of an element; the fixed bytes of an empty text where it has neither.
Bytes create_text_sample(const audict &element);

// An element's picture as a JPEG of the track's size: unchanged where it is a baseline JPEG of that size, else scaled
// down to fit and centred on black. Without a picture that can be read, black alone. Nothing where memory is out, and
// for a picture that is too large in a build that cannot scale.
std::optional<Bytes> create_image_sample(const audict &element, PictureSize size);

// The size that a track of pictures gets: that of the largest, by area, above the least, that can be read.
PictureSize size_of_track(const audict *elements);

// A copy of the array in which neighbours with the same picture are one element that lasts as long as all of them.
Ref merge_images(const audict *elements);

// The ELF hash.
std::uint32_t hash_bytes(const std::uint8_t *data, std::uint32_t length);

}  // namespace auspool::tags
