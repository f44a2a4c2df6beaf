// Rewriting the tag of a file of chunks in place.
//
// Old tag chunks before the sound become free chunks, so that the sound stays where it is; those behind it are cut out.
// The new tag goes where the form ends by its size; what the file holds behind that is overwritten or stays.
#pragma once

#include <cstdint>
#include <span>

#include "tags/chunks/chunk.h"
#include "tags/dict/node.h"

namespace auspool::tags {

struct Container {
  Order order;
  std::uint32_t form_id;
  std::uint32_t largest_size;  // of the form and of its chunks
  std::uint32_t sound_id;
  std::uint32_t free_id;
  std::span<const std::uint32_t> tag_ids;  // the chunks of an old tag
  bool has_info_list;                      // a `LIST` of type `INFO` is one too
};

// Puts `tag` into the file, in place of the chunks of an old one. Returns a result code.
std::int32_t rewrite(const char *path, const Container &container, const Bytes &tag);

}  // namespace auspool::tags
