// Chapters of MPEG-4 files: tracks of text and pictures that the audio's track refers to.
//
//   moov.trak.tref.chap   ids of the tracks of chapters: titles first, then pictures, links and what else there is
#pragma once

#include <cstdint>
#include <optional>

#include "platform/file.h"
#include "tags/dict/node.h"

namespace auspool::tags {

// Null and 0 without chapters.
Ref autag2_m4a_chapter_read(platform::File &file, std::int32_t &error);

// The atoms of the tracks, and an `mdat` with all their samples; nothing for a null dictionary, and when there are no
// samples. The offset in each track counts from the start of the samples: who adds the atoms to a file adds their
// place.
std::optional<Bytes> autag2_qt_chapter_create(const audict *chapters);

// Chapters cannot be added to a finished file: -1.
std::int32_t autag2_m4a_chapter_write(const char *path, const audict *chapters);

}  // namespace auspool::tags
