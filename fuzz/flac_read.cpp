// Any bytes as a FLAC file. What is read has values of the kinds that keys have, and reading costs no more memory than
// the file a few times over.
#include <cstring>

#include "auspool/autag2.h"
#include "support.h"
#include "tags/dict/node.h"

namespace {

using auspool::fuzz::MemoryFile;
using auspool::fuzz::require;
using auspool::tags::Ref;

void check(const char *key, const audict *value) {
  const auto is = [key](const char *name) { return std::strcmp(key, name) == 0; };
  const audict_kind kind = audict_kind_of(value);
  if (is("AlbumCover")) return require(kind == AUDICT_DATA);
  if (!is("BinaryBlobs")) return require(kind == AUDICT_STRING || kind == AUDICT_NUMBER);
  for (std::size_t i = 0; i < audict_count(value); ++i) {
    const audict *blob = audict_at(value, i);
    require(audict_count(blob) == 2);
    for (std::size_t part = 0; part < 2; ++part) {
      std::size_t length = 0;
      require(audict_data(audict_at(blob, part), &length) != nullptr && length > 0);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static MemoryFile memory;
  std::vector<std::uint8_t> file = {'f', 'L', 'a', 'C'};
  file.insert(file.end(), data, data + size);
  file.insert(file.end(), 200, 0);  // so that no bytes stand where a tag of the ID3v1 kind would
  memory.fill(file);
  const Ref tag(autag2_read(memory.path(), nullptr, nullptr));
  require(tag != nullptr);
  for (std::size_t i = 0; i < audict_count(tag.get()); ++i) {
    check(audict_key_at(tag.get(), i), audict_at(tag.get(), i));
  }
  return 0;
}
