#include <array>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "base/four_cc.h"
#include "tags/chunks/chunk.h"
#include "tags/guard.h"
#include "tags/id3/id3.h"
#include "tags/wave/wave.h"

namespace auspool::tags {
namespace {

constexpr std::uint64_t kFirstChunk = 12;

std::int32_t read_text_key(audict &dict, const char *key, platform::File &file, const Chunk &chunk) {
  return add_text_key(dict, key, file, chunk, platform::Encoding::windows_latin1);
}

std::int32_t read_name(audict &dict, platform::File &file, const Chunk &chunk) {
  return read_text_key(dict, "Title", file, chunk);
}

std::int32_t read_artist(audict &dict, platform::File &file, const Chunk &chunk) {
  return read_text_key(dict, "Artist", file, chunk);
}

std::int32_t read_comment(audict &dict, platform::File &file, const Chunk &chunk) {
  return read_text_key(dict, "Comment", file, chunk);
}

std::int32_t read_software(audict &dict, platform::File &file, const Chunk &chunk) {
  return read_text_key(dict, "Encoder", file, chunk);
}

std::int32_t read_date(audict &dict, platform::File &file, const Chunk &chunk) {
  return add_year_key(dict, file, chunk, "-");
}

struct Row {
  std::uint32_t id;
  std::int32_t (*read)(audict &dict, platform::File &file, const Chunk &chunk);
};
constexpr Row kRows[] = {
    {four_cc("INAM"), read_name},     {four_cc("IART"), read_artist}, {four_cc("ICMT"), read_comment},
    {four_cc("ISFT"), read_software}, {four_cc("ICRD"), read_date},
};

// Finds the first list of type `INFO`: where its chunks begin and end. Both 0 when there is none.
std::int32_t find_info(platform::File &file, std::uint64_t &begin, std::uint64_t &end) {
  begin = end = 0;
  Chunk chunk;
  for (std::uint64_t at = kFirstChunk; at + kFirstChunk < file.size(); at = chunk.padded_end()) {
    if (const std::int32_t error = read_chunk(file, at, Order::little, chunk)) return error;
    if (chunk.id != four_cc("LIST")) continue;
    std::array<std::uint8_t, 4> type;
    if (const std::int32_t error = file.read(chunk.data, type)) return error;
    if (load_be<std::uint32_t>(type.data()) != four_cc("INFO")) continue;
    begin = chunk.data + type.size();
    end = chunk.end();
    return 0;
  }
  return 0;
}

std::int32_t read_info(audict &dict, platform::File &file) {
  std::uint64_t at = 0, end = 0;
  if (const std::int32_t error = find_info(file, at, end)) return error;
  for (Chunk chunk; at < end; at = chunk.padded_end()) {
    if (const std::int32_t error = read_chunk(file, at, Order::little, chunk)) return error;
    for (const Row &row : kRows) {
      if (row.id != chunk.id) continue;
      if (const std::int32_t error = row.read(dict, file, chunk)) return error;
    }
  }
  return 0;
}

bool is_id3(std::uint32_t id) {
  return id == four_cc("ID3 ") || id == four_cc("id3 ") || id == four_cc("ID32");
}

// Reads the first ID3 chunk, behind the others as it may be. What is wrong with it is no error of the file.
void read_id3(audict &dict, platform::File &file) {
  Chunk chunk;
  for (std::uint64_t at = kFirstChunk; read_chunk(file, at, Order::little, chunk) == 0; at = chunk.padded_end()) {
    if (!is_id3(chunk.id)) continue;
    autag2_id3_read_v2(dict, chunk.data, file);
    return;
  }
}

}  // namespace

bool autag2_is_wave(platform::File &file) {
  std::array<std::uint8_t, 4> start;
  return file.read(0, start) == 0 && load_be<std::uint32_t>(start.data()) == four_cc("RIFF");
}

Ref autag2_wave_read(platform::File &file, const char *, std::int32_t &error) {
  std::array<std::uint8_t, 8> header;
  error = file.read(0, header);
  if (error == 0 && load_be<std::uint32_t>(header.data()) != four_cc("RIFF")) error = AUTAG2_EPRS;
  if (error != 0) return nullptr;
  Ref dict = make_dictionary();
  error = guarded<std::int32_t>(AUTAG2_EUNK, [&] {
    const std::int32_t info_error = read_info(*dict, file);
    read_id3(*dict, file);
    return info_error;
  });
  return dict;
}

}  // namespace auspool::tags
