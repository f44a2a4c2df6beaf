// Any bytes as an AIFF or WAVE file whose tag is replaced. The first byte chooses which, the next the length of the new
// title. A file never grows beyond the tag at the end of what its form claims, and the sound stays.
#include <algorithm>
#include <string>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "support.h"
#include "tags/aiff/aiff.h"
#include "tags/dict/node.h"
#include "tags/wave/wave.h"

namespace {

using namespace auspool::tags;
using auspool::fuzz::MemoryFile;
using auspool::fuzz::require;

struct Kind {
  const char *magic, *sound_id;
  std::uint32_t (*load)(const std::uint8_t *from);
  std::optional<Bytes> (*create)(const audict *tag);
  std::int32_t (*write)(const char *path, const audict *tag);
};
constexpr Kind kKinds[] = {
    {"FORM", "SSND", auspool::load_be<std::uint32_t>, autag2_aiff_create, autag2_aiff_write},
    {"RIFF", "data", auspool::load_le<std::uint32_t>, autag2_wave_create, autag2_wave_write},
};

Ref titled(std::size_t letters) {
  Ref tag = make_dictionary();
  if (letters != 0) set(*tag, "Title", make_string(std::string(letters, 't')));
  return tag;
}

// Where the data of the first sound chunk begins and ends, as far as the file has it; both 0 without one.
std::pair<std::size_t, std::size_t> sound_in(const Bytes &file, const Kind &kind) {
  const std::uint64_t end = std::min<std::uint64_t>(file.size(), 8u + std::uint64_t{kind.load(&file[4])});
  for (std::uint64_t at = 12; at + 8 <= end;) {
    const std::uint64_t size = kind.load(&file[at + 4]);
    if (std::equal(kind.sound_id, kind.sound_id + 4, &file[at])) return {at + 8, std::min(end, at + 8 + size)};
    at += 8 + size + size % 2;
  }
  return {0, 0};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < 14) return 0;
  const Kind &kind = kKinds[data[0] % 2];
  const Ref tag = titled(data[1]);
  Bytes before(data + 2, data + size);
  std::copy_n(kind.magic, 4, before.begin());
  static MemoryFile memory;
  memory.fill(before);

  const std::int32_t result = kind.write(memory.path(), tag.get());
  const std::uint64_t form_end = 8u + std::uint64_t{kind.load(&before[4])};
  const std::uint64_t tag_end = result == 0 ? form_end + kind.create(tag.get())->size() : 0;
  require(memory.size() <= std::max<std::uint64_t>(before.size(), tag_end));
  const auto [begin, end] = sound_in(before, kind);
  if (begin == 0 || memory.size() > 1 << 24) return 0;  // the hole of a form that claims much need not be looked at
  const Bytes after = memory.bytes();
  // What the last 8 bytes of a form are is for its next tag to say.
  const std::size_t kept = end - std::min<std::size_t>(end, 8);
  if (kept > begin) require(after.size() >= kept && std::equal(&before[begin], &before[kept], &after[begin]));
  return 0;
}
