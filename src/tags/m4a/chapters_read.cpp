#include <algorithm>
#include <array>
#include <vector>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "tags/chapter_keys.h"
#include "tags/guard.h"
#include "tags/m4a/chapter_track_read.h"
#include "tags/m4a/chapters.h"
#include "tags/m4a/find_atom.h"

namespace auspool::tags {
namespace {

using Tracks = std::vector<std::uint64_t>;  // offsets of their `trak`

constexpr const char *key_of(TrackKind kind) {
  switch (kind) {
  case TrackKind::image:
    return kImageTrack;
  case TrackKind::link:
    return kLinkTrack;
  case TrackKind::contents:
    break;
  }
  return kContentsTrack;
}

// The first track that has an atom at this path below it; `tracks.size()` without one.
std::size_t find_track_with(platform::File &file, const Tracks &tracks, const char *path) {
  std::uint64_t offset = 0;
  std::size_t index = 0;
  while (index < tracks.size() && !find_atom(file, tracks[index], path, offset)) ++index;
  return index;
}

bool has_id(platform::File &file, std::uint64_t track, std::uint32_t wanted) {
  constexpr std::uint64_t kTrackId = 20;
  std::uint32_t id = 0;
  return read_word_behind_times(file, track, "trak.tkhd", kTrackId, id) == 0 && id == wanted;
}

// The ids in the `chap` of a track: none without one.
std::int32_t read_references(platform::File &file, std::uint64_t track, std::vector<std::uint32_t> &ids) {
  constexpr std::uint32_t kLeastBytes = 12, kMostIds = 16;
  std::uint64_t offset = 0;
  if (!find_atom(file, track, "trak.tref.chap", offset)) return 0;
  std::array<std::uint8_t, kAtomHeaderBytes + 4 * kMostIds> bytes;
  if (const std::int32_t error = file.read(offset, std::span(bytes).first(4))) return error;
  const auto size = load_be<std::uint32_t>(bytes.data());
  if (size < kLeastBytes) return AUTAG2_EPRS;
  const std::size_t count = std::min<std::size_t>((size - kAtomHeaderBytes) / 4, kMostIds);
  if (const std::int32_t error = file.read(offset, std::span(bytes).first(kAtomHeaderBytes + 4 * count))) return error;
  for (std::size_t i = 0; i < count; ++i) ids.push_back(load_be<std::uint32_t>(&bytes[kAtomHeaderBytes + 4 * i]));
  return 0;
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

// What is read of one file.
struct Reading {
  platform::File &file;
  const Tracks &tracks;
  Allowance allowance;
  audict &chapters;
};

std::int32_t load_track(Reading &reading, std::uint32_t id, bool is_first) {
  const auto found = std::find_if(reading.tracks.begin(), reading.tracks.end(),
                                  [&](std::uint64_t track) { return has_id(reading.file, track, id); });
  if (found == reading.tracks.end()) return AUTAG2_EPRS;
  ChapterTrack track;
  if (const std::int32_t error = load_chapter_track(reading.file, *found, reading.allowance, track)) return error;
  if (!track.elements || (is_first && track.kind != TrackKind::contents)) return 0;
  add(reading.chapters, key_of(track.kind), std::move(track.elements));
  return 0;
}

// The first of each kind counts, and titles come from the first track of all before any other. A track is taken for
// that of its place: the first has id 1.
std::int32_t load_tracks(Reading &reading, std::size_t index) {
  const auto own_id = static_cast<std::uint32_t>(index + 1);
  std::uint32_t highest = 0;
  std::vector<std::uint32_t> ids;
  if (const std::int32_t error = read_highest_id(reading.file, highest)) return error;
  if (const std::int32_t error = read_references(reading.file, reading.tracks[index], ids)) return error;
  if (!ids.empty() && ids[0] == own_id) return AUTAG2_EPRS;
  for (std::size_t i = 0; i < ids.size() && !is_complete(reading.chapters); ++i) {
    if (i > 0 && (ids[i] == own_id || ids[i] < 1 || ids[i] > highest)) continue;
    if (const std::int32_t error = load_track(reading, ids[i], i == 0)) return error;
  }
  return 0;
}

Ref load_chapter_dict(platform::File &file, const Tracks &tracks, std::size_t index, std::int32_t &error) {
  Ref chapters = make_dictionary();
  Reading reading{file, tracks, Allowance(file.size()), *chapters};
  error = load_tracks(reading, index);
  return audict_count(chapters.get()) > 0 ? std::move(chapters) : nullptr;
}

}  // namespace

Ref autag2_m4a_chapter_read(platform::File &file, std::int32_t &error) {
  const Tracks tracks = find_tracks(file);
  std::size_t index = find_track_with(file, tracks, "trak.mdia.minf.stbl.stsd");
  if (index == tracks.size()) {
    error = AUTAG2_ESND;
    return nullptr;
  }
  Ref chapters = load_chapter_dict(file, tracks, index, error);
  if (chapters || error != 0) return chapters;
  index = find_track_with(file, tracks, "trak.tref.chap");
  return index < tracks.size() ? load_chapter_dict(file, tracks, index, error) : nullptr;
}

std::int32_t autag2_m4a_chapter_write(const char *, const audict *) {
  return -1;
}

}  // namespace auspool::tags
