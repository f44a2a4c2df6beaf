#include "recorder/tag_block.h"

#include <memory>
#include <new>

namespace auspool {
namespace {

TagBlock create(audict *tags, TagKind kind) {
  const std::unique_ptr<audict, void (*)(audict *)> data(autag2_create(tags, static_cast<std::uint32_t>(kind)),
                                                         audict_release);
  std::size_t length = 0;
  const auto *bytes = static_cast<const std::uint8_t *>(audict_data(data.get(), &length));
  return bytes != nullptr ? TagBlock(bytes, bytes + length) : TagBlock();
}

}  // namespace

TagOperations tag_operations = {create, audict_release};

void TagsOfFile::clear() {
  if (tags_) tag_operations.release(tags_);
  tags_ = nullptr;
}

audict *TagsOfFile::make_own() {
  audict *const own = tags_ ? audict_copy(tags_) : audict_create();
  clear();
  return tags_ = own;
}

TagData TagsOfFile::take_data(TagKind kind) {
  TagData data(tags_ ? autag2_create_data(tags_, kind) : nullptr);
  clear();
  return data;
}

TagBlock TagsOfFile::take_block(TagKind kind) {
  TagBlock block;
  if (tags_) {
    try {
      block = tag_operations.create(tags_, kind);
    } catch (const std::bad_alloc &) {
      block.clear();
    }
  }
  clear();
  return block;
}

}  // namespace auspool
