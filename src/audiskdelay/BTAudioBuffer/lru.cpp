#include "audiskdelay/BTAudioBuffer/lru.h"

#include "audiskdelay/BTAudioBuffer/checks.h"
#include "audiskdelay/BTAudioBuffer/references.h"

namespace auspool::audiskdelay {

void add_to_lru(BTAudioCacheBlock *block) {
  BTAudioBuffer *const buffer = block->owner;
  block->prev = nullptr;
  block->next = buffer->lruHead;
  (block->next ? block->next->prev : buffer->lruTail) = block;
  buffer->lruHead = block;
}

void remove_from_lru(BTAudioCacheBlock *block) {
  BTAudioBuffer *const buffer = block->owner;
  (block->prev ? block->prev->next : buffer->lruHead) = block->next;
  (block->next ? block->next->prev : buffer->lruTail) = block->prev;
  block->next = block->prev = nullptr;
}

void retain(BTAudioCacheBlock *block) {
  assert_that(block != nullptr, "block != NULL");
  if (block->refcnt == 0) remove_from_lru(block);
  ++block->refcnt;
}

void BTAudioBlockRelease(BTAudioCacheBlock *block) {
  if (!block) return;
  assert_that(block->refcnt >= 1, "block->refcnt >= 1");
  if (--block->refcnt == 0) add_to_lru(block);
}

}  // namespace auspool::audiskdelay
