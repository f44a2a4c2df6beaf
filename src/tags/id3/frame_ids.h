// The frames that tags are made of, under the ids that they have from ID3v2.3 on, and in ID3v2.2.
#pragma once

#include <cstdint>

#include "base/four_cc.h"

namespace auspool::tags {

struct FrameId {
  std::uint32_t id;
  std::uint32_t id_2_2;  // three letters, right-aligned; 0 where ID3v2.2 has no such frame

  constexpr std::uint32_t of_version(int major) const { return major > 2 ? id : id_2_2; }
};

constexpr std::uint32_t three_cc(const char (&code)[4]) {
  return four_cc({'\0', code[0], code[1], code[2], '\0'});
}

constexpr FrameId talbum = {four_cc("TALB"), three_cc("TAL")};
constexpr FrameId tartist = {four_cc("TPE1"), three_cc("TP1")};
constexpr FrameId tsidekick = {four_cc("TPE2"), three_cc("TP2")};
constexpr FrameId ttitle = {four_cc("TIT2"), three_cc("TT2")};
constexpr FrameId tencby = {four_cc("TENC"), three_cc("TEN")};
constexpr FrameId tcomposer = {four_cc("TCOM"), three_cc("TCM")};
constexpr FrameId tgroup = {four_cc("TIT1"), three_cc("TT1")};
constexpr FrameId tencsettings = {four_cc("TSSE"), three_cc("TSS")};
constexpr FrameId tgenre = {four_cc("TCON"), three_cc("TCO")};
constexpr FrameId tyear = {four_cc("TYER"), three_cc("TYE")};
constexpr FrameId trectime = {four_cc("TDRC"), 0};
constexpr FrameId tbpm = {four_cc("TBPM"), three_cc("TBP")};
constexpr FrameId tcompilation = {four_cc("TCMP"), three_cc("TCP")};
constexpr FrameId ttrack = {four_cc("TRCK"), three_cc("TRK")};
constexpr FrameId tset = {four_cc("TPOS"), three_cc("TPA")};
constexpr FrameId tcomment = {four_cc("COMM"), three_cc("COM")};
constexpr FrameId tulyrics = {four_cc("USLT"), three_cc("ULT")};
constexpr FrameId tpic = {four_cc("APIC"), three_cc("PIC")};
constexpr FrameId tpodcast = {four_cc("PCST"), three_cc("PCS")};

}  // namespace auspool::tags
