// A finished file with tracks of chapters built for it: what a host does with what autag2_chapter_create gives.
#pragma once

#include <gtest/gtest.h>

#include "support/atoms.h"
#include "support/big_endian.h"
#include "support/m4a_tags.h"

namespace auspool::testing {

// The bytes with the 32-bit word at an offset replaced.
inline std::string with_word(std::string bytes, std::size_t at, std::uint32_t value) {
  return bytes.replace(at, 4, be32(value));
}

// One track: its samples lie at `payload`, and its duration is in the units of the whole file.
inline std::string placed_track(const Atom &track, std::size_t payload, std::uint32_t time_scale) {
  const std::size_t stco = track.size() - 4;
  const std::uint64_t duration = std::uint64_t{track.word(36)} * time_scale / 1000;
  return with_word(with_word(track.bytes, stco, track.word(stco) + static_cast<std::uint32_t>(payload)), 36,
                   static_cast<std::uint32_t>(duration));
}

// The audio's track, which refers to those of the chapters.
inline std::string referring_track(const Atom &track, std::uint32_t chapter_tracks) {
  std::string ids;
  for (std::uint32_t id = 2; id < 2 + chapter_tracks; ++id) ids += be32(id);
  return atom("trak", track.bytes.substr(8) + atom("tref", atom("chap", ids)));
}

// `file` has one track and ends with its `moov`.
inline std::string with_chapters(const std::string &file, const std::string &built) {
  constexpr std::size_t kTimeScale = 20, kNextId = 104;
  const Atom moov = atom_at(file, "moov");
  EXPECT_EQ(moov.offset + moov.size(), file.size());
  std::vector<Atom> tracks = atoms_in(built);
  const std::string samples = tracks.back().bytes;
  tracks.pop_back();
  const auto count = static_cast<std::uint32_t>(tracks.size());
  std::string index;
  for (const Atom &child : atoms_in(moov.bytes.substr(8))) {
    index += child.type == "mvhd"   ? with_word(child.bytes, kNextId, 2 + count)
             : child.type == "trak" ? referring_track(child, count)
                                    : child.bytes;
  }
  const std::uint32_t time_scale = atom_at(file, "moov.mvhd").word(kTimeScale);
  for (const Atom &track : tracks) index += placed_track(track, moov.offset + 8, time_scale);
  return file.substr(0, moov.offset) + samples + atom("moov", index);
}

}  // namespace auspool::testing
