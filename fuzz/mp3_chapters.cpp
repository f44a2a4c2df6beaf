// Any bytes as an MP3 file with chapters. What is read is built, and read again: as many chapters with the same titles.
#include "auspool/autag2.h"
#include "support.h"
#include "support/id3.h"
#include "tags/id3/mp3.h"

namespace {

using namespace auspool::tags;
using auspool::fuzz::MemoryFile;
using auspool::fuzz::require;

Ref read(const MemoryFile &memory, std::int32_t &error) {
  auspool::platform::File file;
  require(file.open(memory.path(), auspool::platform::File::Access::read) == 0);
  return autag2_mp3_chapter_read(file, error);
}

// A tag around the frames of the chapters.
std::string build(const audict *chapters) {
  const Ref data(autag2_chapter_create(chapters, AUTAG2_MP3));
  require(data != nullptr);
  std::size_t size = 0;
  const auto *bytes = static_cast<const char *>(audict_data(data.get(), &size));
  return auspool::testing::id3_tag(3, std::string(bytes, size));
}

const audict *contents(const Ref &chapters) {
  return audict_get(chapters.get(), "Autag2ChapterTOCTrack");
}

std::string title(const Ref &chapters, std::size_t index) {
  const char *text = audict_get_string(audict_at(contents(chapters), index), "Autag2ChapterElementTitle");
  require(text != nullptr);
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static MemoryFile memory;
  memory.fill({data, size});
  std::int32_t error = 0;
  const Ref first = read(memory, error);
  require((first != nullptr) == (contents(first) != nullptr));
  if (!first) return 0;
  const std::string built = build(first.get());
  memory.fill({reinterpret_cast<const std::uint8_t *>(built.data()), built.size()});
  const Ref second = read(memory, error);
  require(error == 0 && audict_count(contents(second)) == audict_count(contents(first)));
  for (std::size_t i = 0; i < audict_count(contents(first)); ++i) {
    const std::string text = title(first, i);
    require(text.size() > 2000 || text == title(second, i));  // longer ones may be cut
  }
  return 0;
}
