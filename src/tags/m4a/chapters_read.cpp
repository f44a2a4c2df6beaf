#include <array>
#include <string>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "base/four_cc.h"
#include "tags/guard.h"
#include "tags/m4a/chapter_text.h"
#include "tags/m4a/chapters.h"
#include "tags/m4a/find_atom.h"
#include "tags/m4a/sample_table.h"

namespace auspool::tags {
namespace {

enum class Kind { chapters, images, links };

constexpr const char *key_of(Kind kind) {
  switch (kind) {
  case Kind::images:
    return "Autag2ChapterImageTrack";
  case Kind::links:
    return "Autag2ChapterHRefTrack";
  case Kind::chapters:
    break;
  }
  return "Autag2ChapterTOCTrack";
}

std::string track_path(std::uint32_t index) {
  return "moov.trak-" + std::to_string(index);
}

// The first track, by index, that has an atom at this path below it.
bool find_atom_and_index_file(platform::File &file, const std::string &below, std::uint32_t &index) {
  constexpr std::uint32_t kMostTracks = 255;
  std::uint64_t offset = 0;
  for (index = 0; index < kMostTracks; ++index) {
    if (!find_atom(file, 0, track_path(index), offset)) return false;
    if (find_atom(file, 0, track_path(index) + below, offset)) return true;
  }
  return false;
}

// A word of an atom whose times, in version 1, have 64 bits: `at` is its place in version 0, behind two of them.
std::int32_t read_word_behind_times(platform::File &file, const std::string &path, std::uint64_t at,
                                    std::uint32_t &word) {
  constexpr std::uint64_t kVersion = 8, kLongerTimes = 8;
  std::uint64_t atom = 0;
  if (!find_atom(file, 0, path, atom)) return AUTAG2_EPRS;
  std::array<std::uint8_t, 1> version;
  std::array<std::uint8_t, 4> bytes;
  if (const std::int32_t error = file.read(atom + kVersion, version)) return error;
  if (const std::int32_t error = file.read(atom + at + (version[0] == 1 ? kLongerTimes : 0), bytes)) return error;
  word = load_be<std::uint32_t>(bytes.data());
  return 0;
}

std::int32_t find_track(platform::File &file, std::uint32_t track_id, std::string &path) {
  constexpr std::uint64_t kTrackId = 20;
  std::uint64_t offset = 0;
  for (std::uint32_t index = 0; find_atom(file, 0, track_path(index), offset); ++index) {
    std::uint32_t id = 0;
    path = track_path(index);
    if (read_word_behind_times(file, path + ".tkhd", kTrackId, id) == 0 && id == track_id) return 0;
  }
  return AUTAG2_EPRS;
}

struct Track {
  Kind kind = Kind::chapters;
  Ref elements;  // an array; null for a track that is none of chapters
};

// What a track's samples are read with.
struct Reading {
  platform::File &file;
  Track &track;
  std::uint32_t time_scale;
  std::uint64_t time = 0;
};

Ref make_element(const Reading &reading, std::uint32_t duration) {
  const auto seconds = [&](std::uint64_t units) {
    return static_cast<double>(units) / static_cast<double>(reading.time_scale);
  };
  Ref element = make_dictionary();
  set(*element, "Autag2ChapterElementStartTime", make_float(seconds(reading.time)));
  set(*element, "Autag2ChapterElementDuration", make_float(seconds(duration)));
  return element;
}

std::int32_t add_text(Reading &reading, const Sample &sample, audict &element) {
  Bytes bytes;
  if (const std::int32_t error = reading.file.read(sample.offset, sample.size, bytes)) return error;
  auto text = parse_chapter_text(bytes, sample.format == four_cc("tx3g"));
  if (!text) return AUTAG2_EPRS;
  set(element, "Autag2ChapterElementTitle", make_string(std::move(text->title)));
  if (!text->link) return 0;
  set(element, "Autag2ChapterElementURL", make_string(std::move(*text->link)));
  reading.track.kind = Kind::links;
  return 0;
}

std::int32_t add_image(Reading &reading, const Sample &sample, audict &element) {
  Bytes bytes;
  if (const std::int32_t error = reading.file.read(sample.offset, sample.size, bytes)) return error;
  set(element, "Autag2ChapterElementImage", make_data(std::move(bytes)));
  return 0;
}

bool is_readable(std::uint32_t format, Kind kind) {
  return kind == Kind::images ? format == four_cc("jpeg") || format == four_cc("png ")
                              : format == four_cc("text") || format == four_cc("tx3g");
}

// Samples that last no time to speak of fill gaps, and are no chapters.
std::int32_t read_samples(Reading &reading, SampleTable &table) {
  constexpr std::uint32_t kLeastDuration = 2;
  Sample sample;
  std::int32_t error = 0;
  for (; table.next(sample, error); reading.time += sample.duration) {
    if (sample.duration < kLeastDuration) continue;
    if (!is_readable(sample.format, reading.track.kind)) break;
    Ref element = make_element(reading, sample.duration);
    const auto add_content = reading.track.kind == Kind::images ? add_image : add_text;
    if ((error = add_content(reading, sample, *element)) != 0) break;
    append(*reading.track.elements, std::move(element));
  }
  return error;
}

std::int32_t load_chapter_track(platform::File &file, std::uint32_t track_id, Track &track) {
  constexpr std::uint64_t kTimeScale = 20, kSubtype = 16;
  std::string path;
  if (const std::int32_t error = find_track(file, track_id, path)) return error;
  std::uint32_t time_scale = 0;
  if (const std::int32_t error = read_word_behind_times(file, path + ".mdia.mdhd", kTimeScale, time_scale))
    return error;
  std::uint64_t handler = 0;
  std::array<std::uint8_t, 4> subtype;
  if (!find_atom(file, 0, path + ".mdia.hdlr", handler)) return AUTAG2_EPRS;
  if (const std::int32_t error = file.read(handler + kSubtype, subtype)) return error;
  const auto type = load_be<std::uint32_t>(subtype.data());
  if (type != four_cc("vide") && type != four_cc("text")) return 0;
  if (time_scale == 0) return AUTAG2_EPRS;
  track.kind = type == four_cc("vide") ? Kind::images : Kind::chapters;
  SampleTable table;
  if (const std::int32_t error = table.load(file, path + ".mdia.minf.stbl")) return error;
  track.elements = make_array();
  Reading reading{file, track, time_scale};
  return read_samples(reading, table);
}

// The ids in the `chap` of a track: none without one.
std::int32_t read_references(platform::File &file, std::uint32_t index, std::vector<std::uint32_t> &ids) {
  constexpr std::uint32_t kLeastBytes = 12, kMostIds = 16;
  std::uint64_t offset = 0;
  if (!find_atom(file, 0, track_path(index) + ".tref.chap", offset)) return 0;
  std::array<std::uint8_t, kAtomHeaderBytes + 4 * kMostIds> bytes;
  if (const std::int32_t error = file.read(offset, std::span(bytes).first(4))) return error;
  const auto size = load_be<std::uint32_t>(bytes.data());
  if (size < kLeastBytes) return AUTAG2_EPRS;
  const std::size_t count = std::min<std::size_t>((size - kAtomHeaderBytes) / 4, kMostIds);
  if (const std::int32_t error = file.read(offset, std::span(bytes).first(kAtomHeaderBytes + 4 * count))) return error;
  for (std::size_t i = 0; i < count; ++i) ids.push_back(load_be<std::uint32_t>(&bytes[kAtomHeaderBytes + 4 * i]));
  return ids[0] == index + 1 ? AUTAG2_EPRS : 0;
}

std::int32_t read_highest_id(platform::File &file, std::uint32_t &highest) {
  constexpr std::size_t kHeaderBytes = 108, kNextId = 104;
  std::uint64_t offset = 0;
  std::array<std::uint8_t, kHeaderBytes> header;
  if (!find_atom(file, 0, "moov.mvhd", offset) || file.read(offset, header) != 0) return AUTAG2_EPRS;
  highest = load_be<std::uint32_t>(&header[kNextId]) - 1;
  return 0;
}

bool is_complete(const audict &chapters) {
  return audict_count(&chapters) == 3;
}

// The first of each kind counts, and titles come from the first track of all before any other.
std::int32_t load_tracks(platform::File &file, std::uint32_t own_id, std::uint32_t highest,
                         const std::vector<std::uint32_t> &ids, audict &chapters) {
  for (std::size_t i = 0; i < ids.size() && !is_complete(chapters); ++i) {
    const bool usable = ids[i] != own_id && ids[i] >= 1 && ids[i] <= highest;
    if (i > 0 && !usable) continue;
    Track track;
    if (const std::int32_t error = load_chapter_track(file, ids[i], track)) return error;
    if (track.elements && (i > 0 || track.kind == Kind::chapters)) {
      add(chapters, key_of(track.kind), std::move(track.elements));
    }
  }
  return 0;
}

Ref load_chapter_dict(platform::File &file, std::uint32_t index, std::int32_t &error) {
  std::uint32_t highest = 0;
  std::vector<std::uint32_t> ids;
  Ref chapters = make_dictionary();
  error = read_highest_id(file, highest);
  if (error == 0) error = read_references(file, index, ids);
  if (error == 0) error = load_tracks(file, index + 1, highest, ids, *chapters);
  return audict_count(chapters.get()) > 0 ? std::move(chapters) : nullptr;
}

}  // namespace

Ref autag2_m4a_chapter_read(platform::File &file, std::int32_t &error) {
  std::uint32_t index = 0;
  if (!find_atom_and_index_file(file, ".mdia.minf.stbl.stsd", index)) {
    error = AUTAG2_ESND;
    return nullptr;
  }
  Ref chapters = load_chapter_dict(file, index, error);
  if (!chapters && error == 0 && find_atom_and_index_file(file, ".tref.chap", index)) {
    chapters = load_chapter_dict(file, index, error);
  }
  return chapters;
}

std::int32_t autag2_m4a_chapter_write(const char *, const audict *) {
  return -1;
}

}  // namespace auspool::tags
