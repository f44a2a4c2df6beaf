#include <cstdlib>
#include <span>
#include <string>

#include "platform/image.h"
#include "platform/property_list.h"
#include "tags/flac/flac.h"

namespace auspool::tags {
namespace {

struct Entry {
  const char *name, *key;
};

// In the order in which they are written.
constexpr Entry kTexts[] = {{"TITLE", "Title"},          {"ALBUM", "Album"},       {"ARTIST", "Artist"},
                            {"ALBUMARTIST", "Sidekick"}, {"COMMENT", "Comment"},   {"GENRE", "Genre"},
                            {"ENCODEDBY", "Encoder"},    {"COMPOSER", "Composer"}, {"GROUPING", "Grouping"}};
constexpr Entry kNumbers[] = {{"TRACKNUMBER", "TrackNum"},   {"DATE", "Year"},           {"TRACKTOTAL", "TrackTotal"},
                              {"DISCNUMBER", "DiscNum"},     {"DISCTOTAL", "DiscTotal"}, {"BPM", "BPM"},
                              {"COMPILATION", "Compilation"}};

constexpr std::uint32_t kFrontCover = 3;

// True also when there is nothing to add.
bool add_text(void *object, const audict *tag, const Entry &entry) {
  const char *const text = audict_get_string(tag, entry.key);
  return text == nullptr || add_vorbis_entry(object, entry.name, text);
}

bool add_number(void *object, const audict *tag, const Entry &entry) {
  std::int64_t number = 0;
  if (!audict_get_integer(tag, entry.key, &number) || number < 0) return true;
  return add_vorbis_entry(object, entry.name, std::to_string(number));
}

}  // namespace

bool add_vorbis_entry(void *object, std::string_view name, std::string_view value) {
  std::string comment;
  comment.reserve(name.size() + 1 + value.size());
  comment.append(name).append(1, '=').append(value);
  return platform::append_flac_comment(object, comment);
}

platform::FlacBlock create_vorbis_comment_block(const audict *tag) {
  platform::FlacBlock block = tag != nullptr ? platform::make_flac_comments() : nullptr;
  if (!block) return nullptr;
  for (const Entry &entry : kTexts) {
    if (!add_text(block.get(), tag, entry)) return nullptr;
  }
  for (const Entry &entry : kNumbers) {
    if (!add_number(block.get(), tag, entry)) return nullptr;
  }
  return block;
}

// A picture whose size cannot be read is kept without it.
platform::FlacBlock create_front_cover_picture_block(const audict *tag) {
  std::size_t size = 0;
  const auto *bytes = static_cast<const std::uint8_t *>(audict_get_data(tag, "AlbumCover", &size));
  const std::span image(bytes, size);
  const auto format = platform::image_format(image);
  if (!format) return nullptr;
  const auto info = platform::image_info(image).value_or(platform::ImageInfo{0, 0, 0});
  return platform::make_flac_picture({.type = kFrontCover,
                                      .mime_type = *format == platform::ImageFormat::png ? "image/png" : "image/jpeg",
                                      .width = info.width,
                                      .height = info.height,
                                      .depth = info.bits_per_pixel,
                                      .image = image});
}

std::optional<Bytes> autag2_flac_create(const audict *tag) {
  return tag != nullptr ? platform::write_binary_property_list(tag) : std::nullopt;
}

void flac_tag_dispose_func(void *block) {
  platform::release_flac_block(block);
}

autag2_data *autag2_flac_create_data(const audict *tag) {
  platform::FlacBlock blocks[] = {create_vorbis_comment_block(tag), create_front_cover_picture_block(tag)};
  if (!blocks[0] && !blocks[1]) return nullptr;
  auto *const data = static_cast<autag2_data *>(std::calloc(1, sizeof(autag2_data)));
  if (data == nullptr) return nullptr;
  data->dispose = flac_tag_dispose_func;
  for (platform::FlacBlock &block : blocks) {
    if (block) data->pointers[data->count++] = block.release();
  }
  return data;
}

}  // namespace auspool::tags
