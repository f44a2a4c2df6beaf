// The cache: references, the list of what nobody uses, and which block is where.
#include "audiskdelay/BTAudioBuffer/cache.h"

#include <gtest/gtest.h>

#include "audiskdelay/BTAudioBuffer/lru.h"
#include "audiskdelay/BTAudioBuffer/nodes.h"
#include "audiskdelay/BTAudioBuffer/store.h"

using namespace auspool::testing;

namespace {

BTAudioBlockOwner fresh(const Store &store) {
  return BTAudioBufferGetCacheBlock(store.get(), true, 0);
}

TEST(BTAudioCache, ReleasedBlocksQueueBehindTheHead) {
  Store store;
  BTAudioBlockOwner a = fresh(store), b = fresh(store);
  BTAudioCacheBlock *const first = a.get(), *const second = b.get();
  EXPECT_EQ(first->refcnt, 1);
  a.reset();
  b.reset();
  EXPECT_EQ(store->lruHead, second);
  EXPECT_EQ(second->next, first);
  EXPECT_NE(store->lruTail, first) << "the block of nodes is older";
  a = BTAudioBufferGetCacheBlockWithBID(store.get(), first->bid);
  EXPECT_EQ(a.get(), first);
  EXPECT_NE(second->next, first) << "off the list while it is in use";
  a.reset();
  EXPECT_EQ(store->lruHead, first);
}

TEST(BTAudioCache, FindsABlockByAnyPlaceInIt) {
  Store store;
  const BTAudioBlockOwner a = fresh(store);
  EXPECT_EQ(a->bid, 1u << 14);
  EXPECT_EQ(a->dirty, 1);
  EXPECT_EQ(a->full, 0);
  const BTAudioBlockOwner again = BTAudioBufferGetCacheBlockWithBID(store.get(), (1u << 14) + 777);
  EXPECT_EQ(again.get(), a.get());
  EXPECT_EQ(a->refcnt, 2);
}

TEST(BTAudioCache, ANodeHoldsItsBlockOnce) {
  Store store;
  BTAudioNodeOwner a = BTAudioBufferGetNode(store.get(), 5), b = BTAudioBufferGetNode(store.get(), 5);
  const BTAudioNodeOwner other = BTAudioBufferGetNode(store.get(), 6);
  EXPECT_EQ(a.get(), b.get());
  EXPECT_EQ(a->refcnt, 2);
  EXPECT_EQ(a->bid, 5u);
  EXPECT_EQ(a->bytes, a->block->data + 5 * 1024);
  EXPECT_EQ(a->block->refcnt, 2) << "one for each node";
  BTAudioCacheBlock *const block = a->block;
  a.reset();
  EXPECT_EQ(block->refcnt, 2);
  b.reset();
  EXPECT_EQ(block->refcnt, 1);
}

TEST(BTAudioCache, NullIsReleasedAsNothing) {
  BTAudioNodeRelease(nullptr);
  BTAudioBlockRelease(nullptr);
}

TEST(BTAudioCache, FetchedBlocksAreDirtyFromTheStart) {
  Store store({.cacheBlocks = 4});
  for (int i = 0; i < 8; ++i) store.audio(kFramesPerBlock);
  std::uint32_t missing = 1;
  while (store->cacheBlocks.find(block_bid(missing))) ++missing;
  const BTAudioBlockOwner block = BTAudioBufferGetCacheBlockWithBID(store.get(), block_bid(missing));
  ASSERT_TRUE(block);
  EXPECT_EQ(block->dirty, 1);
  EXPECT_EQ(std::memcmp(block->data, frames_from((missing - 1) * kFramesPerBlock, 100).data(), 400), 0);
}

TEST(BTAudioCache, FreeNodesAreHandedOutLowestPlaceFirstAndMoreAreMade) {
  Store store;
  std::vector<BTAudioNodeOwner> nodes;
  for (BTAudioBID bid = 1; bid < 128; ++bid) {
    nodes.push_back(BTAudioBufferGetFreeNode(store.get()));
    EXPECT_EQ(nodes.back()->bid, bid);
  }
  EXPECT_EQ(store->freeNodeCount, 0u);
  const BTAudioNodeOwner next = BTAudioBufferGetFreeNode(store.get());
  EXPECT_EQ(next->bid, 1u << 14) << "the first of a new block, which has a node 0";
  EXPECT_EQ(store->freeNodeCount, 127u);
}

// Whoever asked holds nodes of a tree that has lost records meanwhile, and must begin again.
TEST(BTAudioCache, NoNodeIsGivenWhereTheTreeChangedToMakeRoomForIt) {
  Store store({.blocksPerFile = 6});
  store.audio(5 * kFramesPerBlock);
  store->firstFreeNode = store->freeNodeCount = 0;
  const std::uint64_t before = store->treeChanges;
  EXPECT_EQ(BTAudioBufferGetFreeNode(store.get()), nullptr);
  EXPECT_GT(store->treeChanges, before);
  EXPECT_EQ(store.start(), kFramesPerBlock) << "the oldest audio made room";
  EXPECT_EQ(store->freeNodeCount, 128u);
  EXPECT_NE(BTAudioBufferGetFreeNode(store.get()), nullptr);
}

TEST(BTAudioCacheDeath, OnOneReleaseTooMany) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Store store;
  BTAudioCacheBlock *const block = store->cacheBlocks.find(0);
  EXPECT_DEATH(BTAudioBlockRelease(block),
               "Assertion failed: block->refcnt >= 1  src/audiskdelay/BTAudioBuffer:[0-9]+\n");
  EXPECT_DEATH(BTAudioNodeRelease(&block->nodes[1]), "Assertion failed: node->refcnt >= 1  ");
  EXPECT_DEATH(retain(nullptr), "Assertion failed: block != NULL  ");
  EXPECT_DEATH(
      {
        block->nodes[1].refcnt = 1;  // without a reference on the block
        BTAudioBufferGetNode(store.get(), 1);
      },
      "Assertion failed: block->refcnt > extra  ");
  EXPECT_DEATH(empty_cache_block(block), "Assertion failed: !block->dirty  ");
}

TEST(BTAudioCacheDeath, OnABlockThatTheFileDoesNotHold) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Store store;
  EXPECT_DEATH(BTAudioBufferGetCacheBlockWithBID(store.get(), block_bid(9)),
               "Assertion failed: read == \\(ssize_t\\)kBTAudioBlockSize  ");
}

}  // namespace
