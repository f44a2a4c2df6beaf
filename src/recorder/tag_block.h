// The tags of one file: the dictionary that a host gives, and what the file's format makes of it.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "auspool/autag2.h"

namespace auspool {

using TagBlock = std::vector<std::uint8_t>;  // the bytes that a container holds

struct DisposeTagData {
  void operator()(autag2_data *data) const { autag2_dispose_data(data); }
};
using TagData = std::unique_ptr<autag2_data, DisposeTagData>;  // what an encoder takes, or null
inline std::span<void *> pointers_of(const TagData &data) {
  return data ? std::span(data->pointers, data->count) : std::span<void *>();
}

// The kinds that autag2_create and autag2_create_data build.
enum TagKind : std::int32_t { kTagKindAIFF = 0, kTagKindMP3 = 1, kTagKindWAVE = 3, kTagKindFLAC = 5 };

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
  const audict *get() const { return tags_; }
  void clear();

  // A dictionary to put more into: a copy of the host's, or a new one. Null, and nothing is left, where memory ran out.
  audict *make_own();

  // Builds the block, or the data, and releases the dictionary. Empty without a dictionary, and where memory ran out.
  TagBlock take_block(TagKind kind);
  TagData take_data(TagKind kind);

private:
  audict *tags_ = nullptr;
};

}  // namespace auspool
