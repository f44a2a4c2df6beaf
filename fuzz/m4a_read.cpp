// Any bytes as an MPEG-4 file. Its tag is read, built, and read again: after what a builder cuts is gone, the bytes
// must stay the same. Its chapters are read, and those without pictures built: what comes out must be whole atoms.
#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "support.h"
#include "support/m4a_tags.h"
#include "tags/m4a/chapters.h"
#include "tags/m4a/m4a.h"

namespace {

using namespace auspool::tags;
using auspool::fuzz::MemoryFile;
using auspool::fuzz::require;

void open(auspool::platform::File &file, const MemoryFile &memory) {
  require(file.open(memory.path(), auspool::platform::File::Access::read) == 0);
}

// The path leads nowhere: a film's picture would be the work of other libraries.
Ref read(const MemoryFile &memory) {
  auspool::platform::File file;
  open(file, memory);
  std::int32_t error = 0;
  return autag2_m4a_read(file, "/no/film.mp4", error);
}

Bytes build(const Ref &tag) {
  const auto built = autag2_udta_create(tag.get());
  require(built.has_value());
  return *built;
}

void rebuild(MemoryFile &memory) {
  Ref tag = read(memory);
  require(tag != nullptr);
  Bytes before, after = build(tag);
  for (int round = 0; round < 2; ++round) {
    before = after;
    const std::string file = auspool::testing::m4a_file(std::string(before.begin(), before.end()));
    memory.fill({reinterpret_cast<const std::uint8_t *>(file.data()), file.size()});
    tag = read(memory);
    after = build(tag);
  }
  require(before == after);
}

void rebuild_chapters(const MemoryFile &memory) {
  auspool::platform::File file;
  open(file, memory);
  std::int32_t error = 0;
  const Ref chapters = autag2_m4a_chapter_read(file, error);
  if (!chapters) return;
  audict_remove(chapters.get(), "Autag2ChapterImageTrack");
  const Ref data(autag2_chapter_create(chapters.get(), AUTAG2_M4A));
  std::size_t size = 0, at = 0;
  const auto *bytes = static_cast<const std::uint8_t *>(audict_data(data.get(), &size));
  while (at < size) {
    require(size - at >= 8);
    at += auspool::load_be<std::uint32_t>(bytes + at);
  }
  require(at == size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static MemoryFile memory;
  memory.fill({data, size});
  rebuild_chapters(memory);
  rebuild(memory);
  return 0;
}
