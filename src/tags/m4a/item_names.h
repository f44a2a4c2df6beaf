// Names of the items in `ilst`.
#pragma once

#include <cstdint>

#include "base/four_cc.h"

namespace auspool::tags {

// A name that begins with the byte A9.
constexpr std::uint32_t copyright_cc(const char (&code)[4]) {
  const char whole[5] = {'\xA9', code[0], code[1], code[2], '\0'};
  return four_cc(whole);
}

struct TextItem {
  std::uint32_t name;
  const char *key;
};

// Items whose text is the value of a key, in the order in which they are written.
constexpr TextItem kTextItems[] = {
    {copyright_cc("nam"), "Title"},    {copyright_cc("ART"), "Artist"},      {four_cc("aART"), "Sidekick"},
    {copyright_cc("alb"), "Album"},    {copyright_cc("gen"), "Genre"},       {copyright_cc("too"), "Encoder"},
    {copyright_cc("grp"), "Grouping"}, {copyright_cc("wrt"), "Composer"},    {copyright_cc("cmt"), "Comment"},
    {copyright_cc("lyr"), "Lyrics"},   {four_cc("tsse"), "EncoderSettings"},
};

constexpr std::uint32_t kYearItem = copyright_cc("day"), kTempoItem = four_cc("tmpo"), kMediaKindItem = four_cc("stik"),
                        kCompilationItem = four_cc("cpil"), kTrackItem = four_cc("trkn"), kDiscItem = four_cc("disk"),
                        kCoverItem = four_cc("covr"), kGenreNumberItem = four_cc("gnre"),
                        kFreeformItem = four_cc("----");

// Types of a `data` atom.
enum DataType : std::uint32_t { kTypeBinary = 0, kTypeUtf8 = 1, kTypeJpeg = 13, kTypePng = 14, kTypeInteger = 0x15 };
constexpr std::uint32_t kDataHeaderBytes = 16;

}  // namespace auspool::tags
