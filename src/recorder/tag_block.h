// The tags of one file, as the bytes that its container holds between header and audio.
#pragma once

#include <cstdint>
#include <vector>

#include "auspool/types.h"

namespace auspool {

using TagBlock = std::vector<std::uint8_t>;

// The kinds of block that autag2_create builds.
enum TagKind : std::int32_t { kTagKindAIFF = 0, kTagKindWAVE = 3 };

// Where blocks come from. Tests put a block of their own in place.
struct TagOperations {
  TagBlock (*create)(audict *tags, TagKind kind);
  void (*release)(audict *tags);
};
extern TagOperations tag_operations;

// One reference to the dictionary that the host's path_cb gave for a file, or nothing.
class TagsOfFile {
public:
  TagsOfFile() = default;
  ~TagsOfFile() { clear(); }
  TagsOfFile(const TagsOfFile &) = delete;
  TagsOfFile &operator=(const TagsOfFile &) = delete;

  // For path_cb, which may store a dictionary here.
  audict **out() { return &tags_; }
  void clear();

  // Builds the block and releases the dictionary. Empty without a dictionary, and where memory ran out.
  TagBlock take_block(TagKind kind);

private:
  audict *tags_ = nullptr;
};

}  // namespace auspool
