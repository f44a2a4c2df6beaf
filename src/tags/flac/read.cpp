#include <array>
#include <new>

#include "base/byte_order.h"
#include "base/four_cc.h"
#include "tags/flac/comments.h"
#include "tags/flac/flac.h"
#include "tags/guard.h"

namespace auspool::tags {
namespace {

constexpr std::uint64_t kMagicBytes = 4;
constexpr std::uint32_t kVorbisComment = 4, kPicture = 6;
constexpr std::uint32_t kFrameSync = 0xFFF8;

struct Block {
  std::uint32_t type;
  bool is_last;
  std::uint64_t at, size;  // of its data
};

// What is gathered on the way through the blocks.
struct Reading {
  audict &dict;
  platform::File &file;
  Ref unknown = make_array();
  CoverChoice covers;
};

// Reads the image straight to where it stays. Where memory runs out there is no cover.
std::int32_t read_picture(Reading &reading, const Block &block) try {
  const auto fetch = [&](std::uint64_t at) -> std::optional<std::uint32_t> {
    std::array<std::uint8_t, 4> bytes;
    if (reading.file.read(block.at + at, bytes) != 0) return std::nullopt;
    return load_be<std::uint32_t>(bytes.data());
  };
  const auto picture = parse_flac_picture(block.size, fetch);
  if (!picture) return 0;
  CoverChoice choice = reading.covers;
  if (!choice.takes(*picture)) return 0;
  Bytes image;
  const std::int32_t error = reading.file.read(block.at + picture->image_at, picture->image_bytes, image);
  if (error != 0) return error;
  set(reading.dict, "AlbumCover", make_data(std::move(image)));
  reading.covers = choice;
  return 0;
} catch (const std::bad_alloc &) {
  return 0;
}

std::int32_t read_block(Reading &reading, const Block &block) {
  if (block.type == kPicture && !reading.covers.front_cover_found()) return read_picture(reading, block);
  if (block.type != kVorbisComment) return 0;
  const FlacCursor cursor = {reading.file, block.at, block.at + block.size};
  return read_flac_comments(reading.dict, *reading.unknown, reading.covers, cursor);
}

std::int32_t walk(Reading &reading) {
  std::int32_t last_error = 0;
  for (std::uint64_t at = kMagicBytes;;) {
    std::array<std::uint8_t, 4> header;
    if (const std::int32_t error = reading.file.read(at, header)) return error;
    const auto word = load_be<std::uint32_t>(header.data());
    if (word >> 16 == kFrameSync) return last_error;
    const Block block = {word >> 24 & 0x7F, word >> 31 != 0, at + header.size(), word & 0xFFFFFF};
    if (const std::int32_t error = read_block(reading, block)) last_error = error;
    if (block.is_last) return last_error;
    at = block.at + block.size;
  }
}

}  // namespace

bool autag2_is_flac(platform::File &file) {
  std::array<std::uint8_t, kMagicBytes> magic;
  return file.read(0, magic) == 0 && load_be<std::uint32_t>(magic.data()) == four_cc("fLaC");
}

std::int32_t autag2_flac_read_priv(audict &dict, platform::File &file) {
  Reading reading = {.dict = dict, .file = file, .unknown = make_array(), .covers = {}};
  const std::int32_t error = guarded<std::int32_t>(AUTAG2_EUNK, [&] { return walk(reading); });
  set(dict, "BinaryBlobs", std::move(reading.unknown));
  return error;
}

Ref autag2_flac_read(platform::File &file, const char *, std::int32_t &error) {
  error = autag2_is_flac(file) ? 0 : AUTAG2_EPRS;
  if (error != 0) return nullptr;
  Ref dict = make_dictionary();
  error = guarded<std::int32_t>(AUTAG2_EUNK, [&] { return autag2_flac_read_priv(*dict, file); });
  return dict;
}

}  // namespace auspool::tags
