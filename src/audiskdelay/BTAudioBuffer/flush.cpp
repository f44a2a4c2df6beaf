#include "audiskdelay/BTAudioBuffer/flush.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "audiskdelay/BTAudioBuffer/cache.h"
#include "audiskdelay/BTAudioBuffer/checks.h"

namespace auspool::audiskdelay {
namespace {

constexpr std::int64_t kSecondsBetweenMessages = 61;

enum class Outcome { written, failed, file_cannot_grow };

BTAudioBlockSet blocks_to_write(const BTAudioBuffer *buffer) {
  BTAudioBlockSet blockSet;
  std::uint32_t count = 0;
  for (BTAudioCacheBlock *block = buffer->lruTail; block; block = block->prev, ++count) {
    if (block->dirty && block->full) blockSet.add(block);
  }
  BTAudioCacheBlock *block = buffer->lruTail;
  for (std::uint32_t half = count / 2; half > 0; --half, block = block->prev) {
    if (block->dirty && !blockSet.contains(block)) blockSet.add(block);
  }
  return blockSet;
}

void sort_by_place(BTAudioBlockSet &blockSet) {
  const auto lies_before = [](const BTAudioCacheBlock *a, const BTAudioCacheBlock *b) { return a->bid < b->bid; };
  std::sort(blockSet.begin(), blockSet.end(), lies_before);
}

// The file grows at its end only: what is cached between that and a block beyond is written too.
void add_blocks_before(const BTAudioBuffer *buffer, BTAudioBlockSet &blockSet) {
  const auto end = static_cast<std::uint32_t>(buffer->fileSize / kBTAudioBlockSize);
  std::uint32_t lastBlockIndex = end;
  const std::uint32_t chosen = blockSet.size();
  for (std::uint32_t i = 0; i < chosen; ++i) {
    const std::uint32_t blockIndex = block_index_of(blockSet.begin()[i]->bid);
    if (blockIndex < end) continue;
    for (; lastBlockIndex < blockIndex; ++lastBlockIndex) {
      BTAudioCacheBlock *const block = buffer->cacheBlocks.find(block_bid(lastBlockIndex));
      if (!block) continue;
      assert_that(!blockSet.contains(block), "!CFSetContainsValue(blockSet,block)");
      blockSet.add(block);
    }
    assert_that(blockIndex == lastBlockIndex, "blockIndex == lastBlockIndex");
    ++lastBlockIndex;
  }
}

void report(BTAudioBuffer *buffer, const char *what, int error) {
  const auto since_epoch = std::chrono::system_clock::now().time_since_epoch();
  const std::int64_t now = std::chrono::duration_cast<std::chrono::seconds>(since_epoch).count();
  if (now - buffer->lastErrorTime < kSecondsBetweenMessages) return;
  buffer->lastErrorTime = now;
  std::fprintf(stderr, what, std::strerror(error));
}

Outcome failure(BTAudioBuffer *buffer, bool appends, int error) {
  if (appends)
    report(buffer, "Append failed: %s\n", error);
  else
    report(buffer, "Write failed: %s\n", error);
  return appends ? Outcome::file_cannot_grow : Outcome::failed;
}

// Blocks that were dropped before they were written leave the file too short for this one: it is then written in their
// places too, which gives their disk space back at once, until it has come to its own.
Outcome write_block(BTAudioBuffer *buffer, BTAudioCacheBlock *block) {
  const std::uint64_t own = file_offset_of(block->bid);
  for (;;) {
    const std::uint64_t size = buffer->fileSize;
    const std::uint64_t offset = std::min(own, size);
    const std::int64_t count = buffer->file->write(offset, block->data, kBTAudioBlockSize);
    if (count != std::int64_t{kBTAudioBlockSize}) return failure(buffer, offset == size, count < 0 ? errno : -1);
    if (offset == size) buffer->fileSize += kBTAudioBlockSize;
    if (own <= size) break;
    buffer->file->punch_hole(offset, kBTAudioBlockSize);
  }
  block->full = block->dirty = 0;
  return Outcome::written;
}

}  // namespace

std::uint32_t BTAudioBufferFlushCacheBlocks(BTAudioBuffer *buffer) {
  BTAudioBlockSet blockSet = blocks_to_write(buffer);
  sort_by_place(blockSet);
  add_blocks_before(buffer, blockSet);
  sort_by_place(blockSet);
  std::uint32_t flushed = 0;
  for (BTAudioCacheBlock *block : blockSet) {
    const Outcome outcome = write_block(buffer, block);
    if (outcome == Outcome::file_cannot_grow) break;
    if (outcome == Outcome::written) ++flushed;
  }
  return flushed;
}

void evict(BTAudioBuffer *buffer, std::uint32_t flushed) {
  std::uint32_t most = flushed ? flushed : 2;
  for (BTAudioCacheBlock *block = buffer->lruTail; block && most > 0;) {
    BTAudioCacheBlock *const newer = block->prev;
    if (!block->dirty) {
      empty_cache_block(block);
      --most;
    }
    block = newer;
  }
}

}  // namespace auspool::audiskdelay
