#include "tags/flac/comments.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <new>
#include <span>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "platform/text.h"
#include "tags/flac/base64.h"
#include "tags/leading_integer.h"

namespace auspool::tags {
namespace {

enum class Kind { kString, kNumber, kPicture };

struct FieldName {
  std::string_view name;
  const char *key;
  Kind kind;
};

constexpr FieldName vorbis_field_names[] = {
    {"TITLE", "Title", Kind::kString},
    {"ALBUM", "Album", Kind::kString},
    {"TRACKNUMBER", "TrackNum", Kind::kNumber},
    {"ARTIST", "Artist", Kind::kString},
    {"COMMENT", "Comment", Kind::kString},
    {"GENRE", "Genre", Kind::kString},
    {"DATE", "Year", Kind::kNumber},
    {"ENCODEDBY", "Encoder", Kind::kString},
    {"TRACKTOTAL", "TrackTotal", Kind::kNumber},
    {"DISCNUMBER", "DiscNum", Kind::kNumber},
    {"DISCTOTAL", "DiscTotal", Kind::kNumber},
    {"BPM", "BPM", Kind::kNumber},
    {"ALBUMARTIST", "Sidekick", Kind::kString},
    {"ALBUM ARTIST", "Sidekick", Kind::kString},
    {"METADATA_BLOCK_PICTURE", "AlbumCover", Kind::kPicture},
    {"COMPILATION", "Compilation", Kind::kNumber},
    {"COMPOSER", "Composer", Kind::kString},
    {"GROUPING", "Grouping", Kind::kString},
};

constexpr std::size_t kCommentBytes = 1024;  // longer ones are allocated
constexpr std::size_t kVendorBytes = 1024;   // longer ones are skipped

std::span<const std::uint8_t> bytes_of(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t *>(text.data()), text.size()};
}

char upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool has_name(std::string_view comment, std::string_view name) {
  if (comment.size() <= name.size() + 1 || comment[name.size()] != '=') return false;
  return std::equal(name.begin(), name.end(), comment.begin(), [](char a, char b) { return a == upper(b); });
}

// Text that is not UTF-8 is left out.
Ref text(std::string_view value) {
  auto utf8 = platform::decode_text(bytes_of(value), platform::Encoding::utf8);
  return utf8 ? make_string(std::move(*utf8)) : nullptr;
}

// "/12" is how some programs write a total alone.
void set_number(audict &dict, const FieldName &field, std::string_view value) {
  const bool has_slash = value.starts_with('/');
  if (has_slash) value.remove_prefix(1);
  const char *const key = has_slash && field.name == "TRACKNUMBER" ? "TrackTotal" : field.key;
  set(dict, key, make_integer(leading_integer(value), AUDICT_INT32));
}

void set_picture(audict &dict, CoverChoice &covers, std::string_view value) {
  Bytes bytes = decode_base64(value);
  const auto picture = parse_flac_picture(
      bytes.size(), [&](std::uint64_t at) { return std::optional(load_be<std::uint32_t>(&bytes[at])); });
  if (!picture || !covers.takes(*picture)) return;
  bytes.resize(static_cast<std::size_t>(picture->image_at + picture->image_bytes));
  bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(picture->image_at));
  set(dict, "AlbumCover", make_data(std::move(bytes)));
}

void keep_unknown(audict &unknown, std::string_view comment) {
  const std::size_t equals = comment.find('=');
  if (equals == std::string_view::npos || equals == 0 || equals + 1 == comment.size()) return;
  Ref pair = make_array();
  for (const std::string_view part : {comment.substr(0, equals), comment.substr(equals + 1)}) {
    append(*pair, make_data(Bytes(part.begin(), part.end())));
  }
  append(unknown, std::move(pair));
}

std::int32_t take_number(FlacCursor &from, std::uint32_t &number) {
  std::array<std::uint8_t, 4> bytes;
  if (from.end - from.at < bytes.size()) return AUTAG2_EPRS;
  const std::int32_t error = from.file.read(from.at, bytes);
  number = load_le<std::uint32_t>(bytes.data());
  from.at += bytes.size();
  return error;
}

// How many bytes come next. They are within the block, and within the file.
std::int32_t take_length(FlacCursor &from, std::uint32_t &length) {
  if (const std::int32_t error = take_number(from, length)) return error;
  if (length > from.end - from.at) return AUTAG2_EPRS;
  return from.at + length > from.file.size() ? EIO : 0;
}

std::int32_t read_vendor(audict &dict, FlacCursor &from) {
  std::uint32_t length = 0;
  if (const std::int32_t error = take_length(from, length)) return error;
  std::array<std::uint8_t, kVendorBytes> bytes;
  const std::uint64_t at = std::exchange(from.at, from.at + length);
  if (length > bytes.size()) return 0;
  const std::int32_t error = from.file.read(at, std::span(bytes).first(length));
  Ref vendor = error == 0 ? text({reinterpret_cast<const char *>(bytes.data()), length}) : nullptr;
  if (vendor) add(dict, "Encoder", std::move(vendor));
  return error;
}

}  // namespace

void read_flac_comment(audict &dict, audict &unknown, CoverChoice &covers, std::string_view comment) {
  const auto *const field = std::find_if(std::begin(vorbis_field_names), std::end(vorbis_field_names),
                                         [comment](const FieldName &row) { return has_name(comment, row.name); });
  if (field == std::end(vorbis_field_names)) return keep_unknown(unknown, comment);
  const std::string_view value = comment.substr(field->name.size() + 1);
  switch (field->kind) {
  case Kind::kString:
    if (Ref string = text(value)) set(dict, field->key, std::move(string));
    break;
  case Kind::kNumber:
    set_number(dict, *field, value);
    break;
  case Kind::kPicture:
    set_picture(dict, covers, value);
  }
}

std::int32_t read_flac_comments(audict &dict, audict &unknown, CoverChoice &covers, FlacCursor block) {
  if (const std::int32_t error = read_vendor(dict, block)) return error;
  std::uint32_t count = 0, length = 0;
  if (const std::int32_t error = take_number(block, count)) return error;
  std::array<std::uint8_t, kCommentBytes> buffer;
  for (; count > 0; --count) {
    if (const std::int32_t error = take_length(block, length)) return error;
    const std::uint64_t at = std::exchange(block.at, block.at + length);
    std::unique_ptr<std::uint8_t[]> large(length < buffer.size() ? nullptr : new (std::nothrow) std::uint8_t[length]);
    if (length >= buffer.size() && !large) continue;
    const std::span<std::uint8_t> bytes(large ? large.get() : buffer.data(), length);
    if (const std::int32_t error = block.file.read(at, bytes)) return error;
    read_flac_comment(dict, unknown, covers, {reinterpret_cast<const char *>(bytes.data()), bytes.size()});
  }
  return 0;
}

}  // namespace auspool::tags
