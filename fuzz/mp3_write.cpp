// Any bytes as an MP3 file whose tag is replaced. The first two bytes choose the length of the new title.
#include <algorithm>
#include <string>

#include "auspool/autag2.h"
#include "support.h"
#include "tags/id3/id3v1.h"
#include "tags/id3/mp3.h"
#include "tags/id3/syncsafe.h"
#include "tags/id3/tag_data.h"

namespace {

using namespace auspool::tags;
using auspool::fuzz::MemoryFile;
using auspool::fuzz::require;
using Bytes = std::vector<std::uint8_t>;

Ref titled(std::size_t letters) {
  Ref tag = make_dictionary();
  if (letters != 0) set(*tag, "Title", make_string(std::string(letters, 't')));
  return tag;
}

std::string title(const MemoryFile &memory) {
  auspool::platform::File file;
  std::int32_t error = 0;
  require(file.open(memory.path(), auspool::platform::File::Access::read) == 0);
  const Ref tag = autag2_mp3_read(file, memory.path(), error);
  const char *text = audict_get_string(tag.get(), "Title");
  return text != nullptr ? text : "";
}

// Bytes of the tag in front, its header included; 0 for one of size 0.
std::size_t tag_bytes(const Bytes &file) {
  if (file.size() < kId3HeaderBytes || !begins_with_id3(file)) return 0;
  const std::size_t size = decode_syncsafe_size(&file[kId3SizeOffset]);
  return size != 0 ? size + kId3HeaderBytes : 0;
}

// What is behind the tag must be what it was, less an ID3v1 tag.
void require_same_audio(const Bytes &before, const Bytes &after) {
  const auto old_audio = std::span(before).subspan(tag_bytes(before));
  require(after.size() >= tag_bytes(after));
  const auto audio = std::span(after).subspan(tag_bytes(after));
  require(audio.size() == old_audio.size() || audio.size() + kId3v1Bytes == old_audio.size());
  require(std::ranges::equal(audio, old_audio.first(audio.size())));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < 2) return 0;
  const std::size_t letters = (data[0] * 256u + data[1]) % 4097;
  const Bytes before(data + 2, data + size);
  static MemoryFile memory;
  memory.fill(before);
  const std::int32_t result = autag2_mp3_write(memory.path(), titled(letters).get());
  const Bytes after = memory.bytes();
  if (result != 0) {
    require(after == before);
    return 0;
  }
  require(after.size() <= before.size() + 2 * kId3HeaderBytes + 11 + letters);
  if (letters != 0) require(title(memory) == std::string(letters, 't'));
  if (tag_bytes(before) != 0 && tag_bytes(after) != 0) require_same_audio(before, after);
  return 0;
}
