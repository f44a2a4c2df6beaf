#include <string>

#include "base/byte_order.h"
#include "tags/chunks/chunk.h"
#include "tags/id3/id3.h"
#include "tags/wave/wave.h"

namespace auspool::tags {
namespace {

// A text of odd length has one NUL behind it, one of even length two: always one, and an even size.
constexpr TextForm kTextForm = {platform::Encoding::windows_latin1, Order::little,
                                [](std::uint32_t length) { return (length + 2) & ~1u; }};

}  // namespace

std::optional<Bytes> autag2_wave_create(const audict *tag) {
  if (tag == nullptr) return std::nullopt;
  const std::optional<Bytes> id3 = autag2_id3_create(tag);
  if (!id3) return std::nullopt;
  Bytes bytes = {'L', 'I', 'S', 'T', 0, 0, 0, 0, 'I', 'N', 'F', 'O'};
  add_text_chunk(bytes, "INAM", tag, "Title", kTextForm);
  add_text_chunk(bytes, "IART", tag, "Artist", kTextForm);
  add_text_chunk(bytes, "ICMT", tag, "Comment", kTextForm);
  add_text_chunk(bytes, "ISFT", tag, "Encoder", kTextForm);
  if (const auto year = positive_number(tag, "Year")) {
    add_text_chunk(bytes, "ICRD", std::to_string(*year) + "-00-00", kTextForm);
  }
  store_le(&bytes[4], static_cast<std::uint32_t>(bytes.size() - kChunkHeaderBytes));
  add_id3_chunk(bytes, "id3 ", *id3, Order::little);
  return bytes;
}

}  // namespace auspool::tags
