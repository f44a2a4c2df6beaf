#include "recover/file_stage.h"

#include <string>

namespace recover {
namespace {

struct Atom {
  std::uint64_t size = 0;
  std::string type;  // empty where there is none
};

Atom atom_at(std::FILE *file, std::uint64_t offset) {
  unsigned char head[8];
  if (std::fseek(file, static_cast<long>(offset), SEEK_SET) != 0 || std::fread(head, 1, 8, file) != 8) return {};
  const std::uint32_t size = std::uint32_t{head[0]} << 24 | std::uint32_t{head[1]} << 16 | std::uint32_t{head[2]} << 8 |
                             std::uint32_t{head[3]};
  return {size, std::string(head + 4, head + 8)};
}

}  // namespace

// In a recording's file the packets are the second atom until its index comes in front of them. Their size is noted
// when the recording ends, just before the index is made.
Stage stage_of(std::FILE *file, std::uint64_t bytes) {
  const Atom type = atom_at(file, 0), second = atom_at(file, kDataHeader);
  if (type.type != "ftyp" || type.size != kDataHeader) return Stage::kForeign;
  const std::uint64_t behind = kDataHeader + second.size;
  if (second.type == "mdat" && (second.size == 0 || behind == bytes)) return Stage::kInPlace;
  if (second.type != "mdat" && second.type != "moov") return Stage::kForeign;
  const Atom third = atom_at(file, behind);
  const bool other = third.type == (second.type == "mdat" ? "moov" : "mdat");
  return other && behind + third.size == bytes ? Stage::kComplete : Stage::kMoving;
}

std::uint64_t data_size(std::FILE *file) {
  return atom_at(file, kDataHeader).size;
}

}  // namespace recover
