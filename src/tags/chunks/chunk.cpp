#include "tags/chunks/chunk.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <span>

#include "base/byte_order.h"

namespace auspool::tags {
namespace {

constexpr std::size_t kTextBytesRead = 1024;
constexpr std::size_t kTextBytesWritten = 1023;
constexpr std::size_t kYearBytes = 8;

// What the chunk, and the file, hold of the first `to.size()` bytes.
std::int32_t read_start(platform::File &file, const Chunk &chunk, std::span<std::uint8_t> to, std::string_view &text) {
  std::size_t count = 0;
  const auto wanted = to.first(static_cast<std::size_t>(std::min<std::uint64_t>(to.size(), chunk.size)));
  const std::int32_t error = file.read_some(chunk.data, wanted, count);
  text = {reinterpret_cast<const char *>(to.data()), count};
  return error;
}

}  // namespace

std::uint32_t load_u32(const std::uint8_t *from, Order order) {
  return order == Order::big ? load_be<std::uint32_t>(from) : load_le<std::uint32_t>(from);
}

void store_u32(std::uint8_t *to, std::uint32_t value, Order order) {
  if (order == Order::big) {
    store_be(to, value);
  } else {
    store_le(to, value);
  }
}

std::int32_t read_chunk(platform::File &file, std::uint64_t at, Order order, Chunk &chunk) {
  std::array<std::uint8_t, kChunkHeaderBytes> header;
  const std::int32_t error = file.read(at, header);
  if (error == 0) chunk = {load_be<std::uint32_t>(header.data()), at + header.size(), load_u32(&header[4], order)};
  return error;
}

std::int32_t add_text_key(audict &dict, const char *key, platform::File &file, const Chunk &chunk,
                          platform::Encoding encoding) {
  std::array<std::uint8_t, kTextBytesRead> bytes;
  std::string_view text;
  const std::int32_t error = read_start(file, chunk, bytes, text);
  if (error != 0) return error;
  const std::size_t length = std::min(text.find('\0'), text.size());
  if (auto utf8 = platform::decode_text(std::span(bytes).first(length), encoding)) {
    add(dict, key, make_string(std::move(*utf8)));
  }
  return 0;
}

std::int32_t add_year_key(audict &dict, platform::File &file, const Chunk &chunk, std::string_view enders) {
  std::array<std::uint8_t, kYearBytes> bytes;
  std::string_view text;
  const std::int32_t error = read_start(file, chunk, bytes, text);
  if (error != 0) return error;
  const auto ends = [enders](char c) { return c == '\0' || enders.find(c) != std::string_view::npos; };
  text = text.substr(0, static_cast<std::size_t>(std::find_if(text.begin(), text.end(), ends) - text.begin()));
  std::int32_t year = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), year);
  const bool digits_alone = failure == std::errc() && end == text.data() + text.size();
  if (digits_alone && year > 0) add(dict, "Year", make_integer(year, AUDICT_INT32));
  return 0;
}

void append(Bytes &to, std::string_view bytes) {
  to.insert(to.end(), bytes.begin(), bytes.end());
}

void append_u32(Bytes &to, std::uint32_t value, Order order) {
  std::array<std::uint8_t, 4> bytes;
  store_u32(bytes.data(), value, order);
  to.insert(to.end(), bytes.begin(), bytes.end());
}

void append_u64(Bytes &to, std::uint64_t value) {
  std::array<std::uint8_t, 8> bytes;
  store_be(bytes.data(), value);
  to.insert(to.end(), bytes.begin(), bytes.end());
}

void add_text_chunk(Bytes &to, std::string_view id, const audict *tag, const char *key, const TextForm &form) {
  if (const char *text = audict_get_string(tag, key)) add_text_chunk(to, id, text, form);
}

void add_text_chunk(Bytes &to, std::string_view id, std::string_view text, const TextForm &form) {
  const std::string encoded = platform::encode_text_with(text, form.encoding, '?');
  const std::string_view kept = platform::whole_characters(encoded, form.encoding, kTextBytesWritten);
  if (kept.empty()) return;
  const std::uint32_t size = form.chunk_size(static_cast<std::uint32_t>(kept.size()));
  append(to, id);
  append_u32(to, size, form.order);
  append(to, kept);
  to.resize(to.size() + size - kept.size());
}

void add_id3_chunk(Bytes &to, std::string_view id, const Bytes &id3, Order order) {
  const std::size_t padded = id3.size() + (id3.size() & 1);
  append(to, id);
  append_u32(to, static_cast<std::uint32_t>(padded), order);
  to.insert(to.end(), id3.begin(), id3.end());
  to.resize(to.size() + padded - id3.size());
}

std::optional<std::int32_t> positive_number(const audict *tag, const char *key) {
  std::int64_t number = 0;
  if (!audict_get_integer(tag, key, &number)) return std::nullopt;
  if (number < 1 || number > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
  return static_cast<std::int32_t>(number);
}

}  // namespace auspool::tags
