#include <array>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "base/four_cc.h"
#include "tags/aiff/aiff.h"
#include "tags/chunks/chunk.h"
#include "tags/guard.h"
#include "tags/id3/id3.h"

namespace auspool::tags {
namespace {

std::int32_t read_name(audict &dict, platform::File &file, const Chunk &chunk) {
  return add_text_key(dict, "Title", file, chunk, platform::Encoding::mac_roman);
}

std::int32_t read_author(audict &dict, platform::File &file, const Chunk &chunk) {
  return add_text_key(dict, "Artist", file, chunk, platform::Encoding::mac_roman);
}

std::int32_t read_annotation(audict &dict, platform::File &file, const Chunk &chunk) {
  return add_text_key(dict, "Comment", file, chunk, platform::Encoding::mac_roman);
}

std::int32_t read_copyright(audict &dict, platform::File &file, const Chunk &chunk) {
  return add_year_key(dict, file, chunk, "");
}

std::int32_t read_id3(audict &dict, platform::File &file, const Chunk &chunk) {
  autag2_id3_read_v2(dict, chunk.data, file);  // a bad tag in a good file is no error of the file
  return 0;
}

struct Row {
  std::uint32_t id;
  std::int32_t (*read)(audict &dict, platform::File &file, const Chunk &chunk);
};
constexpr Row kRows[] = {
    {four_cc("NAME"), read_name},      {four_cc("AUTH"), read_author}, {four_cc("ANNO"), read_annotation},
    {four_cc("(c) "), read_copyright}, {four_cc("ID3 "), read_id3},
};

std::int32_t read_chunks(audict &dict, platform::File &file, std::uint64_t end) {
  Chunk chunk;
  for (std::uint64_t at = 12; at < end; at = chunk.padded_end()) {
    if (const std::int32_t error = read_chunk(file, at, Order::big, chunk)) return error;
    if (static_cast<std::int32_t>(chunk.size) < 0) return AUTAG2_EPRS;
    for (const Row &row : kRows) {
      if (row.id != chunk.id) continue;
      if (const std::int32_t error = row.read(dict, file, chunk)) return error;
    }
  }
  return 0;
}

}  // namespace

bool autag2_is_aiff(platform::File &file) {
  std::array<std::uint8_t, 4> start;
  return file.read(0, start) == 0 && load_be<std::uint32_t>(start.data()) == four_cc("FORM");
}

Ref autag2_aiff_read(platform::File &file, const char *, std::int32_t &error) {
  std::array<std::uint8_t, 8> header;
  error = file.read(0, header);
  if (error != 0) return nullptr;
  const auto form_size = load_be<std::int32_t>(&header[4]);
  if (load_be<std::uint32_t>(header.data()) != four_cc("FORM") || form_size <= 0) {
    error = AUTAG2_EPRS;
    return nullptr;
  }
  Ref dict = make_dictionary();
  error = guarded<std::int32_t>(
      AUTAG2_EUNK, [&] { return read_chunks(*dict, file, static_cast<std::uint64_t>(form_size) + kChunkHeaderBytes); });
  return dict;
}

}  // namespace auspool::tags
