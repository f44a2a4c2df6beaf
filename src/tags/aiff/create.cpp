#include <string>

#include "tags/aiff/aiff.h"
#include "tags/chunks/chunk.h"
#include "tags/id3/id3.h"

namespace auspool::tags {
namespace {

// A text of odd length has a NUL behind it, which fills the chunk to an even size; one of even length has none.
constexpr TextForm kTextForm = {platform::Encoding::mac_roman, Order::big,
                                [](std::uint32_t length) { return (length + 1) & ~1u; }};

// Whether there is something that only ID3 holds: not so for the encoder alone, nor with a "Compilation" of false. All
// other keys count, those that ID3 has no frame for too.
bool needs_id3(const audict *tag) {
  std::size_t keys = audict_count(tag);
  if (audict_get(tag, "Encoder") != nullptr) --keys;
  bool compilation = true;
  audict_get_boolean(tag, "Compilation", &compilation);
  return keys > (compilation ? 0u : 1u);
}

}  // namespace

std::optional<Bytes> autag2_aiff_create(const audict *tag) {
  if (tag == nullptr) return std::nullopt;
  Bytes bytes;
  add_text_chunk(bytes, "NAME", tag, "Title", kTextForm);
  add_text_chunk(bytes, "AUTH", tag, "Artist", kTextForm);
  add_text_chunk(bytes, "ANNO", tag, "Comment", kTextForm);
  if (const auto year = positive_number(tag, "Year")) add_text_chunk(bytes, "(c) ", std::to_string(*year), kTextForm);
  if (!needs_id3(tag)) return bytes;
  const std::optional<Bytes> id3 = autag2_id3_create(tag);
  if (!id3) return std::nullopt;
  add_id3_chunk(bytes, "ID3 ", *id3, Order::big);
  return bytes;
}

}  // namespace auspool::tags
