// Any bytes as an MPEG-4 file whose tag is replaced. The first two bytes choose the length of the new title.
#include <algorithm>
#include <string>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "support.h"
#include "tags/m4a/find_atom.h"
#include "tags/m4a/m4a.h"

namespace {

using namespace auspool::tags;
using auspool::fuzz::MemoryFile;
using auspool::fuzz::require;
using View = std::span<const std::uint8_t>;

Ref titled(std::size_t letters) {
  Ref tag = make_dictionary();
  set(*tag, "Title", make_string(std::string(letters, 't')));
  return tag;
}

std::uint64_t place_of_index(const MemoryFile &memory) {
  auspool::platform::File file;
  require(file.open(memory.path(), auspool::platform::File::Access::read) == 0);
  std::uint64_t offset = 0;
  require(find_atom(file, 0, "moov", offset));
  return offset;
}

bool has_fragments(View file) {
  constexpr char kName[] = {'m', 'o', 'o', 'f'};
  return std::search(file.begin(), file.end(), std::begin(kName), std::end(kName)) != file.end();
}

// What stands in front of the index and behind it is as it was, but for what fragments say of their place.
void require_same_around(View before, View after, std::uint64_t index) {
  require(index + 8 <= before.size() && index + 8 <= after.size());
  const auto old_size = auspool::load_be<std::uint32_t>(&before[index]);
  const auto new_size = auspool::load_be<std::uint32_t>(&after[index]);
  require(index + old_size <= before.size() && index + new_size <= after.size());
  require(before.size() - old_size == after.size() - new_size);
  if (has_fragments(before)) return;
  require(std::ranges::equal(before.first(index), after.first(index)));
  require(std::ranges::equal(before.subspan(index + old_size), after.subspan(index + new_size)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < 2) return 0;
  const std::size_t letters = (data[0] * 256u + data[1]) % 4097;
  const Bytes before(data + 2, data + size);
  static MemoryFile memory;
  memory.fill(before);
  const std::int32_t result = autag2_m4a_write(memory.path(), titled(letters).get());
  const Bytes after = memory.bytes();
  if (result == 0) {
    require_same_around(before, after, place_of_index(memory));
  } else {
    require(after == before || has_fragments(before));
  }
  return 0;
}
