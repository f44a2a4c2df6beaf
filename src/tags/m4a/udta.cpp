// Builds `udta`.
//
//   0 size   4 "udta"   8 size of meta   12 "meta"   16 version and flags
//  20 36   24 "hdlr"   28 zeros   36 "mdir"   40 "appl"   44 zeros   56 size of ilst   60 "ilst"   64 items
//
// Item: 0 size   4 name   8 size of data   12 "data"   16 type   20 locale   24 payload
#include <algorithm>
#include <span>
#include <string>
#include <string_view>

#include "base/byte_order.h"
#include "platform/text.h"
#include "tags/m4a/item_names.h"
#include "tags/m4a/m4a.h"
#include "tags/m4a/words.h"

namespace auspool::tags {
namespace {

using View = std::span<const std::uint8_t>;

constexpr std::size_t kMetaOffset = 8, kListOffset = 56, kItemHeaderBytes = 24;
constexpr std::size_t kMostTextBytes = 4096;

void add_item(Bytes &to, std::uint32_t name, DataType type, View payload) {
  append_words(to,
               {payload.size() + kItemHeaderBytes, name, payload.size() + kDataHeaderBytes, four_cc("data"), type, 0});
  to.insert(to.end(), payload.begin(), payload.end());
}

View bytes_of(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t *>(text.data()), text.size()};
}

void add_texts(Bytes &to, const audict *tag) {
  for (const TextItem &item : kTextItems) {
    const char *text = audict_get_string(tag, item.key);
    if (text != nullptr && *text != '\0')
      add_item(to, item.name, kTypeUtf8,
               bytes_of(platform::whole_characters(text, platform::Encoding::utf8, kMostTextBytes)));
  }
}

std::int64_t number(const audict *tag, const char *key) {
  std::int64_t value = 0;
  audict_get_integer(tag, key, &value);
  return value;
}

void add_year(Bytes &to, const audict *tag) {
  const auto year = static_cast<std::int32_t>(number(tag, "Year"));
  if (year > 0) add_item(to, kYearItem, kTypeUtf8, bytes_of(std::to_string(year)));
}

void add_tempo(Bytes &to, const audict *tag) {
  const auto tempo = static_cast<std::uint16_t>(number(tag, "BPM"));
  std::uint8_t payload[2];
  store_be(payload, tempo);
  if (tempo != 0) add_item(to, kTempoItem, kTypeInteger, payload);
}

void add_media_kind(Bytes &to, const audict *tag) {
  std::int64_t kind = 0;
  if (!audict_get_integer(tag, "iTunesStik", &kind)) return;
  const std::uint8_t payload[1] = {static_cast<std::uint8_t>(kind)};
  add_item(to, kMediaKindItem, kTypeInteger, payload);
}

void add_compilation(Bytes &to, const audict *tag) {
  constexpr std::uint8_t kTrue[1] = {1};
  bool compilation = false;
  if (audict_get_boolean(tag, "Compilation", &compilation) && compilation) {
    add_item(to, kCompilationItem, kTypeInteger, kTrue);
  }
}

// Stands there without numbers too.
void add_number_total_atom_if_present(Bytes &to, std::uint32_t name, const audict *tag, const char *key,
                                      const char *total_key) {
  std::uint8_t payload[8] = {};
  store_be(payload + 2, static_cast<std::uint16_t>(number(tag, key)));
  store_be(payload + 4, static_cast<std::uint16_t>(number(tag, total_key)));
  add_item(to, name, kTypeBinary, payload);
}

void add_cover(Bytes &to, const audict *tag) {
  std::size_t length = 0;
  const auto *bytes = static_cast<const std::uint8_t *>(audict_get_data(tag, "AlbumCover", &length));
  if (bytes == nullptr) return;
  const bool png = length >= 2 && bytes[0] == 0x89 && bytes[1] == 'P';
  const bool jpeg = length >= 2 && bytes[0] == 0xFF && bytes[1] == 0xD8;
  add_item(to, kCoverItem, png ? kTypePng : jpeg ? kTypeJpeg : kTypeBinary, {bytes, length});
}

Bytes create_head() {
  Bytes head;
  append_words(head, {0, four_cc("udta"), 0, four_cc("meta"), 0, 36, four_cc("hdlr"), 0, 0, four_cc("mdir"),
                      four_cc("appl"), 0, 0, 0});
  append_words(head, {0, four_cc("ilst")});
  return head;
}

}  // namespace

std::optional<Bytes> autag2_udta_create(const audict *tag) {
  if (tag == nullptr) return std::nullopt;
  Bytes bytes = create_head();
  add_texts(bytes, tag);
  add_year(bytes, tag);
  add_tempo(bytes, tag);
  add_media_kind(bytes, tag);
  add_compilation(bytes, tag);
  add_number_total_atom_if_present(bytes, kTrackItem, tag, "TrackNum", "TrackTotal");
  add_number_total_atom_if_present(bytes, kDiscItem, tag, "DiscNum", "DiscTotal");
  add_cover(bytes, tag);
  if (bytes.size() > UINT32_MAX) return std::nullopt;
  put_word(bytes, kListOffset, bytes.size() - kListOffset);
  put_word(bytes, kMetaOffset, bytes.size() - kMetaOffset);
  put_word(bytes, 0, bytes.size());
  return bytes;
}

}  // namespace auspool::tags
