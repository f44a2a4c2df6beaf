// MPEG-4 files with tags, atom by atom, for tests that say what a reader finds in them, and for seeds of fuzzing.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

#include "support/big_endian.h"

namespace auspool::testing {

// An atom around its content. `claimed` stands in for its true size.
std::string atom(const std::string &name, const std::string &content, std::int64_t claimed = -1);
// A `data` atom, and an item of `ilst` around one.
std::string data_atom(std::uint32_t type, const std::string &payload);
std::string item(const std::string &name, std::uint32_t type, const std::string &payload);
std::string text_item(const std::string &name, const std::string &text);
// A freeform item of that name.
std::string freeform(const std::string &name, const std::string &text);

// `udta` around items.
std::string udta(const std::string &items);
// A whole file whose `moov` holds these atoms.
std::string m4a_file(const std::string &atoms_of_moov);
// The same around `udta` around items.
std::string tagged_m4a(const std::string &items);

// A track of chapters with one chunk at `offset`: each sample with its duration.
struct ChapterSample {
  std::string bytes;
  std::uint32_t duration;  // milliseconds
};
std::string chapter_track(std::uint32_t id, const std::string &subtype, const std::string &format,
                          std::initializer_list<ChapterSample> samples, std::uint32_t offset);
// The audio's track, with id 1, which refers to these tracks.
std::string audio_track(std::initializer_list<std::uint32_t> references);
// A file whose chapters stand in front of its `moov`, at offset 24: the tracks are built for that.
constexpr std::uint32_t kChapterOffset = 24;
std::string chaptered_m4a(const std::string &samples, const std::string &tracks, std::uint32_t next_id);
std::string text_sample(const std::string &text, const std::string &behind = "");
std::string link_atom(const std::string &link, std::uint32_t characters = 0xFFFF);

}  // namespace auspool::testing
