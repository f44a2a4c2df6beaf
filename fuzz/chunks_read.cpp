// Any bytes as an AIFF, WAVE or CAF file; the first byte chooses which. What is read is built, and read again: after
// the few things that a builder cuts or leaves out are gone, the bytes must stay the same.
#include <array>

#include "auspool/autag2.h"
#include "support.h"
#include "support/chunk_file.h"
#include "tags/dict/node.h"

namespace {

using namespace auspool::testing;
using auspool::fuzz::MemoryFile;
using auspool::fuzz::require;
using auspool::tags::Ref;

struct Kind {
  std::uint32_t format;
  const char *magic;
  std::string (*file)(const std::string &chunks);
};
constexpr std::array kKinds = {
    Kind{AUTAG2_AIFF, "FORM", [](const std::string &chunks) { return aiff_file(chunks); }},
    Kind{AUTAG2_WAVE, "RIFF", [](const std::string &chunks) { return wave_file(chunks); }},
    Kind{AUTAG2_CAF, "caff", [](const std::string &chunks) { return caf_file(chunks); }},
};

Ref read(MemoryFile &memory, const std::string &bytes) {
  memory.fill({reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()});
  return Ref(autag2_read(memory.path(), nullptr, nullptr));
}

std::string build(const audict *tag, std::uint32_t format) {
  const Ref data(autag2_create(tag, format));
  require(data != nullptr);
  std::size_t size = 0;
  const auto *bytes = static_cast<const char *>(audict_data(data.get(), &size));
  return {bytes, size};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < 5) return 0;
  const Kind &kind = kKinds[data[0] % kKinds.size()];
  static MemoryFile memory;
  Ref tag = read(memory, kind.magic + std::string(data + 5, data + size));
  if (!tag) return 0;
  std::string before, after = build(tag.get(), kind.format);
  for (int round = 0; round < 3; ++round) {
    before = after;
    // Room behind, so that no bytes of the tag stand where a tag of the ID3v1 kind would.
    tag = read(memory, kind.file(before) + std::string(200, '\0'));
    require(tag != nullptr);
    after = build(tag.get(), kind.format);
  }
  require(before == after);
  return 0;
}
