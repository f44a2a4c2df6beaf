#include "tags/id3/mp3.h"

#include <array>
#include <new>

#include "auspool/autag2.h"
#include "tags/id3/chapters.h"
#include "tags/id3/id3.h"
#include "tags/id3/id3v1.h"
#include "tags/id3/tag_data.h"

namespace auspool::tags {
namespace {

// The first bytes of a file, zeros for those that it does not have.
using Start = std::array<std::uint8_t, 4>;

Start start_of(platform::File &file) {
  Start start = {};
  std::size_t count = 0;
  if (file.read_some(0, start, count) != 0) start = {};
  return start;
}

// Runs a reader that fills a dictionary; null when an error comes before anything is in it.
template <typename Reader>
Ref fill(std::int32_t &error, const Reader &reader) {
  Ref dict = make_dictionary();
  try {
    error = reader(*dict);
  } catch (const std::bad_alloc &) {
    error = AUTAG2_EUNK;
  }
  return error != 0 && audict_count(dict.get()) == 0 ? nullptr : std::move(dict);
}

}  // namespace

bool autag2_is_mp3(platform::File &file) {
  const Start start = start_of(file);
  const bool is_sync = start[0] == 0xFF && start[1] >= 0xE0;
  return is_sync || begins_with_id3(start) || ends_in_id3v1(file);
}

Ref autag2_mp3_read(platform::File &file, const char *, std::int32_t &error) {
  error = 0;
  if (begins_with_id3(start_of(file))) {
    return fill(error, [&](audict &dict) { return autag2_id3_read_v2(dict, 0, file); });
  }
  if (!ends_in_id3v1(file)) return nullptr;
  return fill(error, [&](audict &dict) { return autag2_id3_read_v1(dict, file); });
}

Ref autag2_mp3_chapter_read(platform::File &file, std::int32_t &error) {
  error = 0;
  const Start start = start_of(file);
  if (!begins_with_id3(start) || static_cast<std::int8_t>(start[kId3VersionOffset]) < 3) return nullptr;
  return fill(error, [&](audict &dict) { return autag2_id3_chapter_read(dict, 0, file); });
}

}  // namespace auspool::tags
