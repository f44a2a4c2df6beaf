// The formats, one row each, in the order in which a file is tried against them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "auspool/autag2.h"
#include "platform/file.h"
#include "tags/dict/node.h"

namespace auspool::tags {

// What a format can do; null for what it cannot. Functions may throw std::bad_alloc, except that a reader that has
// found something gives it back.
struct Format {
  std::uint32_t number;
  bool (*is)(platform::File &file);
  // Null with the error for a file that is not what it should be.
  Ref (*read)(platform::File &file, const char *path, std::int32_t &error);
  std::int32_t (*write)(const char *path, const audict *tag);
  std::optional<Bytes> (*create)(const audict *tag);
  autag2_data *(*create_data)(const audict *tag);
  Ref (*chapter_read)(platform::File &file, std::int32_t &error);
  std::optional<Bytes> (*chapter_create)(const audict *chapters);
  std::int32_t (*chapter_write)(const char *path, const audict *chapters);
};

std::span<const Format> formats();

}  // namespace auspool::tags
