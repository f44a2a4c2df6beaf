// Reads one track of chapters.
#pragma once

#include <cstdint>

#include "platform/file.h"
#include "tags/dict/node.h"
#include "tags/m4a/chapter_track.h"

namespace auspool::tags {

struct ChapterTrack {
  TrackKind kind = TrackKind::contents;
  Ref elements;  // an array; null for a track that is none of chapters
};

// What the samples of a file may still come to: they may lie upon one another, but are not more than the file.
class Allowance {
public:
  explicit Allowance(std::uint64_t file_size) : left_(file_size) {}

  // False where so many bytes are too many.
  bool take(std::uint64_t bytes) {
    if (bytes > left_) return false;
    left_ -= bytes;
    return true;
  }

private:
  std::uint64_t left_;
};

// `track` is the offset of its `trak`.
std::int32_t load_chapter_track(platform::File &file, std::uint64_t track, Allowance &allowance, ChapterTrack &loaded);

// The word at an offset of an atom whose times, in version 1, have 64 bits: `at` is its place in version 0, behind two
// of them. `path` begins at the atom at `start`.
std::int32_t read_word_behind_times(platform::File &file, std::uint64_t start, const char *path, std::uint64_t at,
                                    std::uint32_t &word);

}  // namespace auspool::tags
