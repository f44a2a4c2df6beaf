// Markers: ITU-T T.81, table B.1.
#include "tags/m4a/baseline_jpeg.h"

#include "base/byte_order.h"

namespace auspool::tags {
namespace {

constexpr std::uint8_t kStuffing = 0x00, kTemporary = 0x01, kBaselineFrame = 0xC0, kHuffmanTables = 0xC4,
                       kArithmetic = 0xCC, kLastFrame = 0xCF, kFirstRestart = 0xD0, kLastRestart = 0xD7,
                       kStartOfImage = 0xD8, kEndOfImage = 0xD9, kStartOfScan = 0xDA, kHierarchical = 0xDE,
                       kFill = 0xFF;

// Frames of other kinds, and what may not stand in front of a frame.
bool ends_the_walk(std::uint8_t marker) {
  const bool other_frame =
      marker > kBaselineFrame && marker <= kLastFrame && marker != kHuffmanTables && marker != kArithmetic;
  const bool restart = marker >= kFirstRestart && marker <= kLastRestart;
  return other_frame || restart || marker == kEndOfImage || marker == kStartOfScan || marker == kHierarchical ||
         marker == kTemporary;
}

}  // namespace

bool is_baseline_jpeg(std::span<const std::uint8_t> file) {
  constexpr std::size_t kLeastBytes = 4;  // a marker and the length behind it
  bool seen_start = false;
  while (file.size() >= kLeastBytes && file[0] == kFill) {
    const std::uint8_t marker = file[1];
    std::size_t step = 2;
    if (marker == kFill) {
      step = 1;
    } else if (marker == kStartOfImage) {
      seen_start = true;
    } else if (marker == kBaselineFrame) {
      return seen_start;
    } else if (ends_the_walk(marker)) {
      return false;
    } else if (marker != kStuffing) {
      step += load_be<std::uint16_t>(&file[2]);
    }
    if (step > file.size()) return false;
    file = file.subspan(step);
  }
  return false;
}

}  // namespace auspool::tags
