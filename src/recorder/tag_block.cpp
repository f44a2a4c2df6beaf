#include "recorder/tag_block.h"

#include <new>

namespace auspool {

TagOperations tag_operations = {[](audict *, TagKind) { return TagBlock(); }, [](audict *) {}};

void TagsOfFile::clear() {
  if (tags_) tag_operations.release(tags_);
  tags_ = nullptr;
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
