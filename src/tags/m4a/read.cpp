#include <array>
#include <string>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "tags/guard.h"
#include "tags/m4a/find_atom.h"
#include "tags/m4a/item.h"
#include "tags/m4a/m4a.h"
#include "tags/m4a/movie.h"

namespace auspool::tags {
namespace {

using Header = std::array<std::uint8_t, kAtomHeaderBytes>;

// Whatever ends the walk over items is no error of the file.
void read_items(audict &tag, platform::File &file, std::uint64_t at, std::uint64_t end) {
  Header header;
  while (at < end && file.read(at, header) == 0) {
    const Item item{load_be<std::uint32_t>(&header[4]), at, load_be<std::uint32_t>(header.data())};
    if (item.size < kAtomHeaderBytes) return;
    read_item(tag, file, item);
    at += item.size;
  }
}

std::int32_t read_list(audict &tag, platform::File &file) {
  std::uint64_t list = 0;
  if (!find_atom(file, 0, "moov.udta.meta,ilst", list)) return 0;
  Header header;
  if (const std::int32_t error = file.read(list, header)) return error;
  const auto size = load_be<std::uint32_t>(header.data());
  if (size < kAtomHeaderBytes) return AUTAG2_EPRS;
  read_items(tag, file, list + kAtomHeaderBytes, list + size);
  return 0;
}

}  // namespace

bool autag2_is_m4a(platform::File &file) {
  Header start;
  return file.read(0, start) == 0 && load_be<std::uint32_t>(&start[4]) == four_cc("ftyp");
}

Ref autag2_m4a_read(platform::File &file, const char *path, std::int32_t &error) {
  Ref tag = make_dictionary();
  error = guarded<std::int32_t>(AUTAG2_EUNK, [&] {
    const std::int32_t list_error = read_list(*tag, file);
    read_movie(*tag, file, path);
    return list_error;
  });
  return tag;
}

}  // namespace auspool::tags
