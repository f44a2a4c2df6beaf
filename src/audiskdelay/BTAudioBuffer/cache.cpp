#include "audiskdelay/BTAudioBuffer/cache.h"

#include "audiskdelay/BTAudioBuffer/checks.h"
#include "audiskdelay/BTAudioBuffer/consume.h"
#include "audiskdelay/BTAudioBuffer/file_blocks.h"
#include "audiskdelay/BTAudioBuffer/flush.h"
#include "audiskdelay/BTAudioBuffer/lru.h"

namespace auspool::audiskdelay {
namespace {

// A cache block that holds nothing: one that there is, else one that becomes clean by writing, else what room the
// oldest audio leaves. Null if all that fails.
BTAudioCacheBlock *find_room(BTAudioBuffer *buffer) {
  BTAudioCacheBlock *block = BTAudioBufferGetFreeCacheBlock(buffer);
  if (block) return block;
  evict(buffer, BTAudioBufferFlushCacheBlocks(buffer));
  block = BTAudioBufferGetFreeCacheBlock(buffer);
  if (!block && !buffer->consuming) {
    const ConsumingScope scope(buffer);
    while (!(block = BTAudioBufferGetFreeCacheBlock(buffer)) && BTAudioBufferConsumeBlock(buffer, 0)) {
    }
  }
  if (!block) ++buffer->starvations;
  return block;
}

BTAudioBlockOwner assign(BTAudioCacheBlock *block, BTAudioBID key) {
  block->refcnt = 1;
  block->bid = key;
  block->full = 0;
  block->dirty = 1;
  block->owner->cacheBlocks.add(key, block);
  return BTAudioBlockOwner(block);
}

BTAudioBlockOwner assign_file_block(BTAudioCacheBlock *block) {
  BTAudioBuffer *const buffer = block->owner;
  buffer->freeCacheBlocks.remove(block);  // looking for a block of the file takes cache blocks too
  if (const auto index = take_file_block(buffer)) return assign(block, block_bid(*index));
  buffer->freeCacheBlocks.add(block);
  return nullptr;
}

}  // namespace

BTAudioCacheBlock *BTAudioBufferGetFreeCacheBlock(BTAudioBuffer *buffer) {
  return buffer->freeCacheBlocks.any();
}

BTAudioBlockOwner BTAudioBufferGetCacheBlock(BTAudioBuffer *buffer, bool allocate, BTAudioBID key) {
  const std::uint64_t before = buffer->treeChanges;
  BTAudioCacheBlock *const block = find_room(buffer);
  if (!block) return nullptr;
  if (allocate) return assign_file_block(block);
  if (buffer->treeChanges != before) return nullptr;  // nothing may be live there now, or it is in the cache already
  buffer->freeCacheBlocks.remove(block);
  return assign(block, key);
}

BTAudioBlockOwner BTAudioBufferGetCacheBlockWithBID(BTAudioBuffer *buffer, BTAudioBID bid) {
  const BTAudioBID key = block_key(bid);
  if (BTAudioCacheBlock *const cached = buffer->cacheBlocks.find(key)) {
    retain(cached);
    return BTAudioBlockOwner(cached);
  }
  BTAudioBlockOwner block = BTAudioBufferGetCacheBlock(buffer, false, key);
  if (!block) return nullptr;
  const std::int64_t read = buffer->file->read(file_offset_of(bid), block->data, kBTAudioBlockSize);
  assert_that(read == std::int64_t{kBTAudioBlockSize}, "read == (ssize_t)kBTAudioBlockSize");
  return block;
}

void empty_cache_block(BTAudioCacheBlock *block) {
  assert_that(!block->dirty, "!block->dirty");
  BTAudioBuffer *const buffer = block->owner;
  buffer->cacheBlocks.remove(block->bid);
  remove_from_lru(block);
  block->bid = 0;
  block->full = 0;
  buffer->freeCacheBlocks.add(block);
}

}  // namespace auspool::audiskdelay
