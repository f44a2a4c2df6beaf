// Any bytes as a tagged MP3 file. What is read is built, and read again: after the few things that a builder cuts or
// leaves out are gone, the bytes must stay the same.
#include "auspool/autag2.h"
#include "support.h"
#include "tags/id3/mp3.h"

namespace {

using namespace auspool::tags;
using auspool::fuzz::MemoryFile;
using auspool::fuzz::require;

Ref read(const MemoryFile &memory) {
  auspool::platform::File file;
  std::int32_t error = 0;
  require(file.open(memory.path(), auspool::platform::File::Access::read) == 0);
  return autag2_mp3_read(file, memory.path(), error);
}

std::vector<std::uint8_t> build(const audict *tag) {
  const Ref data(autag2_create(tag, AUTAG2_MP3));
  require(data != nullptr);
  std::size_t size = 0;
  const auto *bytes = static_cast<const std::uint8_t *>(audict_data(data.get(), &size));
  return {bytes, bytes + size};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static MemoryFile memory;
  memory.fill({data, size});
  Ref tag = read(memory);
  if (!tag || audict_count(tag.get()) == 0) return 0;
  std::vector<std::uint8_t> before, after = build(tag.get());
  for (int round = 0; round < 3; ++round) {
    before = after;
    memory.fill(before);
    tag = read(memory);
    after = build(tag.get());
  }
  require(before == after);
  return 0;
}
