// A whole ID3v2 tag in memory, as its file has it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/file.h"

namespace auspool::tags {

// In front of every tag (ID3v2.3, 3.1):
//
//   0  3  "ID3"
//   3  1  major version
//   4  1  minor version
//   5  1  flags
//   6  4  syncsafe size of what follows
constexpr std::size_t kId3HeaderBytes = 10;
constexpr std::size_t kId3VersionOffset = 3;
constexpr std::size_t kId3FlagsOffset = 5;
constexpr std::size_t kId3SizeOffset = 6;

constexpr bool begins_with_id3(std::span<const std::uint8_t> bytes) {
  return bytes.size() >= 3 && bytes[0] == 'I' && bytes[1] == 'D' && bytes[2] == '3';
}

struct TagData {
  int major = 0;
  std::vector<std::uint8_t> bytes;       // all behind the header
  std::span<const std::uint8_t> frames;  // what of it is behind the extended header
};

// Loads the tag at `offset` of a file. "Etag" for a major version below `least_major` or a flag other than that of an
// extended header, "Eprs" for a size of 0 or beyond the end of the file, an errno value when the header cannot be read.
// Nothing is allocated before the size is known to be true.
std::int32_t load_tag(platform::File &file, std::uint64_t offset, int least_major, TagData &tag);

}  // namespace auspool::tags
