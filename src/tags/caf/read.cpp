#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "base/four_cc.h"
#include "base/utf8.h"
#include "tags/caf/caf.h"
#include "tags/guard.h"
#include "tags/id3/id3.h"

namespace auspool::tags {
namespace {

constexpr std::uint64_t kFileHeaderBytes = 8;
constexpr std::uint64_t kCafChunkHeaderBytes = 12;
constexpr std::uint64_t kLargestInfoChunk = 131'076;
constexpr std::size_t kLargestValue = 1024;

struct CafChunk {
  std::uint32_t type = 0;
  std::uint64_t data = 0;  // offset
  std::int64_t size = 0;
};

std::int32_t read_caf_chunk(platform::File &file, std::uint64_t at, CafChunk &chunk) {
  std::array<std::uint8_t, kCafChunkHeaderBytes> header;
  const std::int32_t error = file.read(at, header);
  chunk = {load_be<std::uint32_t>(header.data()), at + header.size(), load_be<std::int64_t>(&header[4])};
  return error;
}

// Takes a text that ends in NUL, or with the bytes, from their start; false when none are left.
bool take_text(std::string_view &left, std::string_view &text) {
  if (left.empty()) return false;
  text = left.substr(0, left.find('\0'));
  left.remove_prefix(std::min(text.size() + 1, left.size()));
  return true;
}

void add_number(audict &dict, const char *key, std::string_view value) {
  std::int32_t number = 0;
  const auto [end, failure] = std::from_chars(value.data(), value.data() + value.size(), number);
  if (failure != std::errc() || end != value.data() + value.size() || number < 1) return;
  add(dict, key, make_integer(number, AUDICT_INT32));
}

// Adds an entry; "Eprs" for a value that is too long.
std::int32_t add_entry(audict &dict, std::string_view key, std::string_view value) {
  const auto row = std::find_if(caf2autag_key_table.begin(), caf2autag_key_table.end(),
                                [key](const CafKey &it) { return it.caf_key == key; });
  if (row == caf2autag_key_table.end()) return 0;
  if (value.size() > kLargestValue) return AUTAG2_EPRS;
  if (row->is_number) {
    add_number(dict, row->key, value);
  } else if (valid_utf8(value)) {
    add(dict, row->key, make_string(std::string(value)));
  }
  return 0;
}

std::int32_t read_entries(audict &dict, std::string_view left, std::uint32_t count) {
  for (; count > 0; --count) {
    std::string_view key, value;
    if (!take_text(left, key) || !take_text(left, value)) return AUTAG2_EPRS;
    if (const std::int32_t error = add_entry(dict, key, value)) return error;
  }
  return 0;
}

// Leaves `error` as it was when the chunk is good.
void read_info(audict &dict, platform::File &file, const CafChunk &chunk, std::int32_t &error) {
  std::array<std::uint8_t, 4> count_bytes;
  Bytes entries;
  std::int32_t result = file.read(chunk.data, count_bytes);
  const auto count = load_be<std::uint32_t>(count_bytes.data());
  if (result == 0 && count == 0) {
    error = 0;
    return;
  }
  const auto size = static_cast<std::uint64_t>(chunk.size);
  if (result == 0 && (size > kLargestInfoChunk || size <= count_bytes.size())) result = AUTAG2_EPRS;
  if (result == 0) result = file.read(chunk.data + count_bytes.size(), size - count_bytes.size(), entries);
  if (result == 0) {
    result = read_entries(dict, {reinterpret_cast<const char *>(entries.data()), entries.size()}, count);
  }
  if (result != 0) error = result;
}

void read_chunks(audict &dict, platform::File &file, std::int32_t &error) {
  CafChunk chunk;
  for (std::uint64_t at = kFileHeaderBytes; at + kCafChunkHeaderBytes < file.size();
       at = chunk.data + static_cast<std::uint64_t>(chunk.size)) {
    const std::int32_t failure = read_caf_chunk(file, at, chunk);
    if (failure != 0) {
      error = failure;
      return;
    }
    if (chunk.size < 0) {
      error = chunk.type == four_cc("data") ? 0 : AUTAG2_EPRS;
      return;
    }
    if (chunk.type == four_cc("info")) read_info(dict, file, chunk, error);
    if (chunk.type == four_cc("id3 ")) {
      error = 0;
      autag2_id3_read_v2(dict, chunk.data, file);
    }
  }
}

}  // namespace

bool autag2_is_caf(platform::File &file) {
  std::array<std::uint8_t, 4> start;
  return file.read(0, start) == 0 && load_be<std::uint32_t>(start.data()) == four_cc("caff");
}

Ref autag2_caf_read(platform::File &file, const char *, std::int32_t &error) {
  std::array<std::uint8_t, kFileHeaderBytes> header;
  error = file.read(0, header);
  if (error == 0 && load_be<std::uint32_t>(header.data()) != four_cc("caff")) error = AUTAG2_EPRS;
  if (error == 0 && load_be<std::uint16_t>(&header[4]) != 1) error = AUTAG2_ETAG;
  if (error != 0) return nullptr;
  Ref dict = make_dictionary();
  error = guarded<std::int32_t>(AUTAG2_EUNK, [&] {
    std::int32_t last = 0;
    read_chunks(*dict, file, last);
    return last;
  });
  return dict;
}

}  // namespace auspool::tags
