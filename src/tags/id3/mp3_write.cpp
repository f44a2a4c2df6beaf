// Rewrites the ID3v2 tag in front of an MP3 file.
#include <array>
#include <cstdint>

#include "auspool/autag2.h"
#include "tags/id3/id3.h"
#include "tags/id3/id3v1.h"
#include "tags/id3/mp3.h"
#include "tags/id3/syncsafe.h"
#include "tags/id3/tag_data.h"
#include "tags/rewrite.h"

namespace auspool::tags {
namespace {

// Sizes of tags count what is behind their headers.
struct TagSizes {
  std::uint32_t old_size = 0;  // 0 without a tag
  std::uint32_t new_size = 0;
};

std::uint32_t size_in(const std::uint8_t *header) {
  return decode_syncsafe_size(header + kId3SizeOffset);
}

std::int32_t find_old_size(platform::File &file, std::uint32_t &size) {
  std::array<std::uint8_t, kId3HeaderBytes> header;
  if (const std::int32_t error = file.read(0, header)) return error;
  size = begins_with_id3(header) ? size_in(header.data()) : 0;
  // The move would lose the new tag's end, and the cut more, were the old size taken at its word.
  return size != 0 && kId3HeaderBytes + std::uint64_t{size} > file.size() ? AUTAG2_EPRS : 0;
}

// The new tag claims the room of the old one, its end filled with zeros.
std::int32_t write_in_place(platform::File &file, Bytes &tag, std::uint32_t old_size) {
  encode_syncsafe_size(old_size, &tag[kId3SizeOffset]);
  tag.resize(kId3HeaderBytes + old_size);
  return file.write(0, tag);
}

// Both ends of the move leave the headers out. So a file without a tag loses its first 10 bytes of audio, which the new
// header covers, and ends with 10 zeros instead.
std::int32_t write_moving(platform::File &file, const Bytes &tag, TagSizes sizes) {
  const std::uint64_t header_of_none = sizes.old_size == 0 ? kId3HeaderBytes : 0;
  const std::uint64_t size = file.size() + sizes.new_size + header_of_none - sizes.old_size;
  if (const std::int32_t error = file_data_move(file, sizes.new_size, sizes.old_size)) return error;
  if (const std::int32_t error = file.write(0, tag)) return error;
  return file.resize(size);
}

// Leaves in `tag` what has been written.
std::int32_t replace_tag(platform::File &file, Bytes &tag) {
  TagSizes sizes;
  if (const std::int32_t error = find_old_size(file, sizes.old_size)) return error;
  sizes.new_size = size_in(tag.data());
  if (sizes.old_size == 0 && sizes.new_size == 0) {
    tag.clear();  // nothing to say, and no room to say it in
    return 0;
  }
  const auto file_size = static_cast<std::int64_t>(file.size());
  const bool stays = _autag2_should_overwrite_without_moving_data(file_size, sizes.new_size, sizes.old_size);
  return stays ? write_in_place(file, tag, sizes.old_size) : write_moving(file, tag, sizes);
}

// A mark inside the ID3v2 tag, of a file without audio, is chance.
std::int32_t cut_id3v1(platform::File &file, std::uint64_t tag_bytes) {
  if (file.size() < tag_bytes + kId3v1Bytes || !ends_in_id3v1(file)) return 0;
  return file.resize(file.size() - kId3v1Bytes);
}

}  // namespace

std::int32_t autag2_mp3_write(const char *path, const audict *tag) {
  platform::File file;
  if (const std::int32_t error = file.open(path, platform::File::Access::change)) return error;
  auto bytes = autag2_id3_create(tag);
  if (!bytes) return AUTAG2_EUNK;
  if (const std::int32_t error = replace_tag(file, *bytes)) return error;
  return cut_id3v1(file, bytes->size());
}

}  // namespace auspool::tags
