// What the chunk containers share: chunk headers, texts and years in chunks, the embedded ID3 chunk.
//
// AIFF and WAVE chunk:  0  4  id
//                       4  4  size of the data, big-endian in AIFF, little-endian in WAVE
//                       8     data, and a pad byte when the size is odd
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/file.h"
#include "platform/text.h"
#include "tags/dict/node.h"

namespace auspool::tags {

enum class Order { big, little };

struct Chunk {
  std::uint32_t id = 0;
  std::uint64_t data = 0;  // offset
  std::uint64_t size = 0;

  std::uint64_t end() const { return data + size; }
  std::uint64_t padded_end() const { return end() + (size & 1); }
};

constexpr std::uint64_t kChunkHeaderBytes = 8;

std::uint32_t load_u32(const std::uint8_t *from, Order order);
void store_u32(std::uint8_t *to, std::uint32_t value, Order order);
std::int32_t read_chunk(platform::File &file, std::uint64_t at, Order order, Chunk &chunk);

// How a container keeps texts: the encoding and how many bytes follow a text of `length` bytes.
struct TextForm {
  platform::Encoding encoding;
  Order order;
  std::uint32_t (*chunk_size)(std::uint32_t length);
};

// Adds the text in the chunk under `key`: at most its first 1,024 bytes, up to a NUL. An empty text is added too.
std::int32_t add_text_key(audict &dict, const char *key, platform::File &file, const Chunk &chunk,
                          platform::Encoding encoding);
// Adds "Year" from the digits that the chunk begins with. They end with the chunk, the eighth byte, a NUL, or one of
// `enders`; anything else there makes it no year.
std::int32_t add_year_key(audict &dict, platform::File &file, const Chunk &chunk, std::string_view enders);

void append(Bytes &to, std::string_view bytes);
void append_u32(Bytes &to, std::uint32_t value, Order order);
void append_u64(Bytes &to, std::uint64_t value);

// Appends a chunk with the string under `key`, at most 1,023 bytes with "?" for what the encoding has not; nothing for
// no string and an empty one.
void add_text_chunk(Bytes &to, std::string_view id, const audict *tag, const char *key, const TextForm &form);
void add_text_chunk(Bytes &to, std::string_view id, std::string_view text, const TextForm &form);
// Appends an ID3 tag whose pad byte, if it needs one, belongs to the chunk.
void add_id3_chunk(Bytes &to, std::string_view id, const Bytes &id3, Order order);

// A number above 0 that 32 bits hold, as tags keep years, tempos and positions.
std::optional<std::int32_t> positive_number(const audict *tag, const char *key);

}  // namespace auspool::tags
