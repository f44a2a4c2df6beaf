#include "audiskdelay/BTAudioBuffer/file_blocks.h"

#include "audiskdelay/BTAudioBuffer/cache.h"
#include "audiskdelay/BTAudioBuffer/checks.h"
#include "audiskdelay/BTAudioBuffer/consume.h"
#include "audiskdelay/BTAudioBuffer/node.h"
#include "audiskdelay/BTAudioBuffer/tree.h"

namespace auspool::audiskdelay {
namespace {

// To punch a hole takes the disk a millisecond or more whatever its length: 8 MiB at a time.
constexpr std::uint32_t kBlocksPerHole = 64;

// Takes the list's first record out of the tree; its next use finds index 0 if there was none.
bool take_first_free(BTAudioBuffer *buffer, std::uint32_t &blockIndex) {
  const BTAudioKey key(kBTAudioFreeRecord, buffer->firstFreeID);
  BTAudioFreeBlock first;
  std::uint32_t index = 0;
  {
    const BTAudioNodeOwner node = BTAudioBufferFindRecord(buffer, &key, true, &index);
    if (!node) return false;
    first = *record_at<BTAudioFreeBlock>(node.get(), index);
  }
  if (!BTAudioBufferDeleteRecord(buffer, &key)) return false;
  buffer->firstFreeID = first.next == buffer->nextFreeID ? 0 : first.next;
  --buffer->freeBlockCount;
  blockIndex = first.blockIndex;
  return true;
}

// 0 if the list is empty, or if there is no room in the cache to look into it.
std::uint32_t take_from_list(BTAudioBuffer *buffer) {
  std::uint32_t blockIndex = 0;
  const std::uint64_t before = buffer->starvations;
  const bool done =
      undisturbed(buffer, [&] { return buffer->firstFreeID == 0 || take_first_free(buffer, blockIndex); });
  assert_that(done || buffer->starvations != before, "BTAudioBufferDeleteRecord(buffer,&key)");
  return blockIndex;
}

bool consume_until_one_is_free(BTAudioBuffer *buffer) {
  if (buffer->consuming) return false;
  const ConsumingScope scope(buffer);
  const std::uint32_t before = buffer->freeBlockCount;
  while (buffer->freeBlockCount == before && BTAudioBufferConsumeBlock(buffer, 0)) {
  }
  return buffer->freeBlockCount != before;
}

// What was in the block is not worth writing any more.
void forget(BTAudioBuffer *buffer, std::uint32_t blockIndex) {
  const BTAudioBID key = block_bid(blockIndex);
  if (BTAudioCacheBlock *const block = buffer->cacheBlocks.find(key)) {
    block->dirty = 0;
    empty_cache_block(block);
  }
  if (block_key(buffer->writeBID) == key) buffer->writeBID = 0;
}

void punch_lost_blocks(BTAudioBuffer *buffer) {
  const std::uint64_t bytes = std::uint64_t{buffer->lostBlockCount} * kBTAudioBlockSize;
  if (bytes > 0) buffer->file->punch_hole(file_offset_of(block_bid(buffer->firstLostBlock)), bytes);
  buffer->lostBlockCount = 0;
}

}  // namespace

std::optional<std::uint32_t> take_file_block(BTAudioBuffer *buffer) {
  do {
    if (const std::uint32_t freed = take_from_list(buffer)) return freed;
    if (buffer->nextBlock < buffer->blocksPerFile) return buffer->nextBlock++;
  } while (consume_until_one_is_free(buffer));
  return std::nullopt;
}

bool free_file_block(BTAudioBuffer *buffer, std::uint32_t blockIndex) {
  assert_that(blockIndex != 0, "blockIndex != 0");
  forget(buffer, blockIndex);
  const BTAudioFreeBlock record = {{kBTAudioFreeRecord, buffer->nextFreeID}, buffer->nextFreeID + 1, blockIndex};
  if (!check(BTAudioBufferInsertRecord(buffer, &record.key, &record, sizeof record),
             "BTAudioBufferInsertRecord(buffer,&nubrec.key,&nubrec,sizeof(nubrec))")) {
    lose_file_block(buffer, blockIndex);
    return false;
  }
  if (buffer->firstFreeID == 0) buffer->firstFreeID = buffer->nextFreeID;
  ++buffer->freeBlockCount;
  ++buffer->nextFreeID;
  return true;
}

void lose_file_block(BTAudioBuffer *buffer, std::uint32_t blockIndex) {
  forget(buffer, blockIndex);
  if (blockIndex != buffer->firstLostBlock + buffer->lostBlockCount) punch_lost_blocks(buffer);
  if (buffer->lostBlockCount == 0) buffer->firstLostBlock = blockIndex;
  if (++buffer->lostBlockCount == kBlocksPerHole) punch_lost_blocks(buffer);
}

}  // namespace auspool::audiskdelay
