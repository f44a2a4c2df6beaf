#include <string>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "tags/caf/caf.h"
#include "tags/chunks/chunk.h"
#include "tags/id3/id3.h"

namespace auspool::tags {
namespace {

constexpr CafKey kKeys[] = {
    {"title", "Title", false},       {"artist", "Artist", false},    {"album", "Album", false},
    {"composer", "Composer", false}, {"genre", "Genre", false},      {"track number", "TrackNum", true},
    {"year", "Year", true},          {"comments", "Comment", false}, {"encoding application", "Encoder", false},
    {"tempo", "BPM", true},
};

constexpr std::size_t kValueBytesWritten = 1023;
constexpr std::size_t kInfoHeaderBytes = 12;

// The value as it stands in the chunk; empty for none.
std::string value_of(const audict *tag, const CafKey &row) {
  if (row.is_number) {
    const auto number = positive_number(tag, row.key);
    return number ? std::to_string(*number) : "";
  }
  const char *text = audict_get_string(tag, row.key);
  if (text == nullptr) return "";
  return std::string(platform::whole_characters(text, platform::Encoding::utf8, kValueBytesWritten));
}

bool add_text_key(Bytes &to, const CafKey &row, const std::string &value) {
  if (value.empty()) return false;
  append(to, {row.caf_key, std::char_traits<char>::length(row.caf_key) + 1});
  append(to, {value.c_str(), value.size() + 1});
  return true;
}

// The `info` chunk; empty when there is nothing to put in.
Bytes info_chunk(const audict *tag) {
  Bytes bytes = {'i', 'n', 'f', 'o', 0, 0, 0, 0, 0, 0, 0, 0};
  bytes.resize(kInfoHeaderBytes + 4);
  std::uint32_t count = 0;
  for (const CafKey &row : kKeys) count += add_text_key(bytes, row, value_of(tag, row)) ? 1u : 0u;
  if (count == 0) return {};
  store_be<std::uint64_t>(&bytes[4], bytes.size() - kInfoHeaderBytes);
  store_be(&bytes[kInfoHeaderBytes], count);
  return bytes;
}

}  // namespace

const std::span<const CafKey> caf2autag_key_table = kKeys;

std::optional<Bytes> autag2_caf_create(const audict *tag) {
  if (tag == nullptr) return std::nullopt;
  const std::optional<Bytes> id3 = autag2_id3_create(tag);
  if (!id3) return std::nullopt;
  Bytes bytes = info_chunk(tag);
  append(bytes, "id3 ");
  append_u64(bytes, id3->size());
  bytes.insert(bytes.end(), id3->begin(), id3->end());
  return bytes;
}

std::int32_t autag2_caf_write(const char *, const audict *) {
  return AUTAG2_EIMP;
}

}  // namespace auspool::tags
