#include "platform/flac_metadata.h"

#include <FLAC/metadata.h>

#include "base/handle.h"

namespace auspool::platform {
namespace {

constexpr std::uint32_t kLargestBlock = (1u << 24) - 1;  // a block's length has 24 bits

using Chain = std::unique_ptr<FLAC__Metadata_Chain, DestroyWith<FLAC__metadata_chain_delete>>;
using Iterator = std::unique_ptr<FLAC__Metadata_Iterator, DestroyWith<FLAC__metadata_iterator_delete>>;

FLAC__StreamMetadata *object(void *block) {
  return static_cast<FLAC__StreamMetadata *>(block);
}

bool is_replaced(FLAC__MetadataType type) {
  return type == FLAC__METADATA_TYPE_VORBIS_COMMENT || type == FLAC__METADATA_TYPE_PICTURE;
}

// Turns what is replaced into padding. Deleting a block leaves the iterator on the one in front of it.
bool clear(FLAC__Metadata_Chain *chain, FLAC__Metadata_Iterator *iterator) {
  FLAC__metadata_iterator_init(iterator, chain);
  do {
    if (!is_replaced(FLAC__metadata_iterator_get_block_type(iterator))) continue;
    if (!FLAC__metadata_iterator_delete_block(iterator, true)) return false;
  } while (FLAC__metadata_iterator_next(iterator));
  return true;
}

// Puts a block behind the one where the iterator stands, and goes there. The chain owns it then.
bool insert(FLAC__Metadata_Iterator *iterator, FlacBlock &block) {
  if (!FLAC__metadata_iterator_insert_block_after(iterator, object(block.get()))) return false;
  block.release();
  return true;
}

}  // namespace

bool flac_metadata_is_available() {
  return true;
}

void release_flac_block(void *block) {
  FLAC__metadata_object_delete(object(block));
}

FlacBlock make_flac_comments() {
  return FlacBlock(FLAC__metadata_object_new(FLAC__METADATA_TYPE_VORBIS_COMMENT));
}

bool append_flac_comment(void *comments, const std::string &comment) {
  if (comment.size() > kLargestBlock - object(comments)->length) return false;
  FLAC__StreamMetadata_VorbisComment_Entry entry;
  entry.length = static_cast<std::uint32_t>(comment.size());
  entry.entry = reinterpret_cast<FLAC__byte *>(const_cast<char *>(comment.data()));  // it is copied
  return FLAC__metadata_object_vorbiscomment_append_comment(object(comments), entry, true) &&
         object(comments)->length <= kLargestBlock;
}

FlacBlock make_flac_picture(const FlacPicture &picture) {
  if (picture.image.size() > kLargestBlock) return nullptr;
  FlacBlock block(FLAC__metadata_object_new(FLAC__METADATA_TYPE_PICTURE));
  if (!block) return nullptr;
  FLAC__StreamMetadata *const to = object(block.get());
  const bool filled = FLAC__metadata_object_picture_set_mime_type(to, const_cast<char *>(picture.mime_type), true) &&
                      FLAC__metadata_object_picture_set_data(to, const_cast<FLAC__byte *>(picture.image.data()),
                                                             static_cast<std::uint32_t>(picture.image.size()), true);
  if (!filled || to->length > kLargestBlock || !FLAC__metadata_object_picture_is_legal(to, nullptr)) return nullptr;
  FLAC__StreamMetadata_Picture &fields = to->data.picture;
  fields.type = static_cast<FLAC__StreamMetadata_Picture_Type>(picture.type);
  fields.width = picture.width;
  fields.height = picture.height;
  fields.depth = picture.depth;
  fields.colors = 0;
  return block;
}

FlacRewrite rewrite_flac_metadata(const char *path, FlacBlock comments, FlacBlock picture) {
  const Chain chain(FLAC__metadata_chain_new());
  if (!chain) return FlacRewrite::kNoMemory;
  if (!FLAC__metadata_chain_read(chain.get(), path)) return FlacRewrite::kUnreadable;
  const Iterator iterator(FLAC__metadata_iterator_new());
  if (!iterator) return FlacRewrite::kNoMemory;
  if (!clear(chain.get(), iterator.get())) return FlacRewrite::kFailed;
  FLAC__metadata_chain_sort_padding(chain.get());
  FLAC__metadata_iterator_init(iterator.get(), chain.get());  // sorting ended what it stood on
  if (!insert(iterator.get(), comments)) return FlacRewrite::kFailed;
  if (picture && !insert(iterator.get(), picture)) return FlacRewrite::kFailed;
  const bool written = FLAC__metadata_chain_write(chain.get(), true, false);
  return written ? FlacRewrite::kDone : FlacRewrite::kFailed;
}

}  // namespace auspool::platform
