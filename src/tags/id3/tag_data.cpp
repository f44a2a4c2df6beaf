#include "tags/id3/tag_data.h"

#include <algorithm>
#include <array>
#include <new>

#include "auspool/autag2.h"
#include "tags/id3/syncsafe.h"

namespace auspool::tags {
namespace {

constexpr std::uint8_t kExtendedHeader = 0x40;
constexpr std::size_t kExtendedSizeBytes = 4;

// To the letter of ID3v2.3, where the size of the extended header does not count itself, in all versions.
std::size_t extended_header_bytes(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < kExtendedSizeBytes) return bytes.size();
  return std::min(bytes.size(), kExtendedSizeBytes + decode_syncsafe_size(bytes.data()));
}

}  // namespace

std::int32_t load_tag(platform::File &file, std::uint64_t offset, int least_major, TagData &tag) {
  std::array<std::uint8_t, kId3HeaderBytes> header;
  if (const std::int32_t error = file.read(offset, header)) return error;
  tag.major = static_cast<std::int8_t>(header[kId3VersionOffset]);
  const std::uint8_t flags = header[kId3FlagsOffset];
  if (tag.major < least_major || (flags & ~kExtendedHeader) != 0) return AUTAG2_ETAG;
  const std::uint32_t size = decode_syncsafe_size(&header[kId3SizeOffset]);
  try {
    if (size == 0 || file.read(offset + kId3HeaderBytes, size, tag.bytes) != 0) return AUTAG2_EPRS;
  } catch (const std::bad_alloc &) {
    return AUTAG2_EUNK;
  }
  tag.frames = tag.bytes;
  if (flags != 0) tag.frames = tag.frames.subspan(extended_header_bytes(tag.frames));
  return 0;
}

}  // namespace auspool::tags
