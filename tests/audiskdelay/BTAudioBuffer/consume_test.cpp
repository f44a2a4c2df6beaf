// Cutting off the oldest audio, record by record or block by block.
#include "audiskdelay/BTAudioBuffer/consume.h"

#include <gtest/gtest.h>

#include "audiskdelay/BTAudioBuffer/cache.h"
#include "audiskdelay/BTAudioBuffer/node.h"
#include "audiskdelay/BTAudioBuffer/nodes.h"
#include "audiskdelay/BTAudioBuffer/store.h"
#include "audiskdelay/BTAudioBuffer/tree.h"

using namespace auspool::testing;

namespace {

struct Consumed : Store {
  using Store::Store;
  bool consume(std::uint64_t frames) const {
    const ConsumingScope scope(get());
    return looked_through_after(BTAudioBufferConsumeBlock(get(), frames));
  }
  bool looked_through_after(bool result) const {
    get()->consuming = 0;
    return looked_through(result);
  }
  BTAudioRecord *first() const {
    std::uint32_t index = 0;
    return record_at<BTAudioRecord>(BTAudioBufferGetFirstAudioRecord(get(), &index).get(), index);
  }
};

TEST(BTAudioConsume, ShortensALongerSilenceInItsPlace) {
  Consumed store;
  store.silence(100);
  store.gap(3);
  store.silence(100);
  const BTAudioRecord *const record = store.first();
  store->cacheBlocks.find(0)->dirty = 0;
  EXPECT_TRUE(store.consume(30));
  EXPECT_EQ(store->cacheBlocks.find(0)->dirty, 1);
  EXPECT_EQ(store.first(), record);
  EXPECT_EQ(record->frameTime(), 30u);
  EXPECT_EQ(record->physicalTime, 30u);
  EXPECT_EQ(record->frames, 70u);
  EXPECT_EQ(store.start(), 30u);
}

TEST(BTAudioConsume, AShortenedSilenceIsFoundThoughItsParentsKeepTheOlderKey) {
  Consumed store;
  for (int i = 0; i < 400; ++i) {
    store.silence(100);
    store.gap(1);
  }
  EXPECT_TRUE(store.consume(99));
  EXPECT_EQ(store.start(), 99u);
  EXPECT_EQ(store.read(99, 10), Frames(1, 0));
  EXPECT_TRUE(store.consume(1));
  EXPECT_EQ(store.start(), 100u);
}

TEST(BTAudioConsume, RemovesOneRecordAtATime) {
  Consumed store;
  store.silence(100);
  store.gap(1);
  store.audio(50);
  EXPECT_TRUE(store.consume(1000));
  EXPECT_EQ(store.start(), 100u);
  EXPECT_TRUE(store.consume(1));
  EXPECT_EQ(store.start(), 150u);
  EXPECT_EQ(store->root, 0u);
}

TEST(BTAudioConsume, RecordByRecordNoBlockIsUsedAgain) {
  Consumed store;
  store.audio(3 * kFramesPerBlock);
  EXPECT_TRUE(store.consume(1));
  EXPECT_TRUE(store.consume(1));
  EXPECT_EQ(store->freeBlockCount, 0u);
  store.audio(1);
  EXPECT_EQ(store->nextBlock, 5u);
}

TEST(BTAudioConsume, ByTheBlockItIsFreeAgain) {
  Consumed store;
  store.audio(1000);
  store.silence(10);
  store.audio(2 * kFramesPerBlock);
  EXPECT_TRUE(store.consume(0));
  EXPECT_EQ(store.start(), kFramesPerBlock + 10) << "all records of the block, with the silence between them";
  EXPECT_EQ(store->freeBlockCount, 1u);
  EXPECT_EQ(store->cacheBlocks.find(block_bid(1)), nullptr);
  store.audio(kFramesPerBlock);
  EXPECT_EQ(store->nextBlock, 4u);
  EXPECT_EQ(store->freeBlockCount, 0u) << "used again";
  EXPECT_EQ(store.read_all(store.start(), 100), frames_from(store.start(), 100));
}

TEST(BTAudioConsume, FreesBlocksInTurn) {
  Consumed store;
  store.audio(6 * kFramesPerBlock);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(store.consume(0));
  EXPECT_EQ(store->freeBlockCount, 4u);
  EXPECT_EQ(store->firstFreeID, 1u);
  EXPECT_EQ(store->nextFreeID, 5u);
  store.audio(5 * kFramesPerBlock);
  EXPECT_EQ(store->firstFreeID, 0u);
  EXPECT_EQ(store->nextBlock, 8u);
  store.looked_through(true);
}

// What the block's last frame is followed by must not go into a block that is free.
TEST(BTAudioConsume, AudioDoesNotGoOnInABlockThatWasFreed) {
  Consumed store;
  store.audio(kFramesPerBlock);
  ASSERT_EQ(store->writeBID, block_bid(1) + 16383);
  EXPECT_TRUE(store.consume(0));
  EXPECT_EQ(store->writeBID, 0u);
  EXPECT_TRUE(store.audio(10));
  EXPECT_EQ(store.read(store.start(), 10), frames_from(kFramesPerBlock, 10));
}

TEST(BTAudioConsume, LeavesTheFirstRecordOfTheNextBlockAlone) {
  Consumed store;
  store.audio(100);
  store.gap(1);
  store.audio(100);
  store.gap(1);
  store.audio(100);
  // As if block 1 had been left before it was full.
  const BTAudioKey second(kBTAudioAudioRecord, 100);
  std::uint32_t index = 0;
  auto *const record =
      record_at<BTAudioRecord>(BTAudioBufferFindRecord(store.get(), &second, true, &index).get(), index);
  record->blocks[0] = block_bid(2);
  record->blocks[1] = block_bid(2) + 50;
  store->nextBlock = 3;
  const ConsumingScope scope(store.get());
  EXPECT_TRUE(BTAudioBufferConsumeBlock(store.get(), 0));
  EXPECT_EQ(store.start(), 100u);
  EXPECT_EQ(store->freeBlockCount, 1u);
}

TEST(BTAudioConsume, OfAnEmptyStoreIsFalseAndSaysSo) {
  const Consumed store;
  for (const std::uint64_t frames : {0u, 5u}) {
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(store.consume(frames));
    const std::string said = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(said.rfind("Check failed: (node = BTAudioBufferGetFirstAudioRecord(buffer,&recdex)) != NULL  "
                         "src/audiskdelay/BTAudioBuffer:",
                         0),
              0u)
        << said;
  }
}

TEST(BTAudioConsume, OfABlockThatIsNotFullYetIsFalseAndLeavesIt) {
  Consumed store;
  store.audio(100);
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(store.consume(0));
  ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(store.start(), 100u);
  EXPECT_EQ(store->freeBlockCount, 0u);
  EXPECT_TRUE(store.audio(100));
  EXPECT_EQ(store->nextBlock, 2u) << "audio goes on in it";
  EXPECT_EQ(store.read(100, 100), frames_from(100, 100));
}

TEST(BTAudioConsume, SilenceIsConsumedLikeAudioOnTheWayToABlock) {
  Consumed store;
  store.silence(1000);
  store.audio(kFramesPerBlock);
  EXPECT_TRUE(store.consume(0));
  EXPECT_EQ(store.length(), 0u);
  EXPECT_EQ(store->freeBlockCount, 1u);
}

TEST(BTAudioConsume, TreatsAReservedRecordLikeAudio) {
  Consumed store;
  store.audio(kFramesPerBlock);
  store.first()->key = {kBTAudioReservedRecord, 0};
  store.get()->consuming = 1;
  EXPECT_TRUE(BTAudioBufferConsumeBlock(store.get(), 0));
  store.get()->consuming = 0;
  EXPECT_EQ(store->freeBlockCount, 1u);
}

// Removing the record would need a node for which there is no room.
TEST(BTAudioConsume, AFailedDeletionSaysSoAndLosesNothing) {
  Consumed store({.cacheBlocks = 3});
  for (int i = 0; i < 60; ++i) {
    store.silence(10);
    store.gap(1);
  }
  const BTAudioNodeOwner leaf = BTAudioBufferGetNode(store.get(), store->firstLeaf);
  const BTAudioBlockOwner a = BTAudioBufferGetCacheBlock(store.get(), true, 0);
  const BTAudioBlockOwner b = BTAudioBufferGetCacheBlock(store.get(), true, 0);
  ASSERT_TRUE(a && b) << "now all of the cache is in use";
  store->consuming = 1;
  while (record_count(leaf.get()) > 1) ASSERT_TRUE(BTAudioBufferConsumeBlock(store.get(), 10));
  const std::uint64_t start = store.start();
  // The last record of a leaf cannot go without the leaf's neighbour, which is said to lie in a block not in the cache.
  const BTAudioBID next = BTAudioNodeGetDescriptor(leaf.get())->next;
  BTAudioNodeGetDescriptor(leaf.get())->next = block_bid(99);
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(BTAudioBufferConsumeBlock(store.get(), 10));
  const std::string said = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(said.rfind("Check failed: BTAudioBufferDeleteRecord(buffer,&key)  src/audiskdelay/BTAudioBuffer:", 0), 0u)
      << said;
  BTAudioNodeGetDescriptor(leaf.get())->next = next;
  store->consuming = 0;
  EXPECT_EQ(store.start(), start);
  EXPECT_EQ(store.first()->frameTime(), start);
}

TEST(BTAudioConsumeDeath, OnSilenceThatIsNotLonger) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Consumed store;
  store.silence(10);
  std::uint32_t index = 0;
  const BTAudioNodeOwner node = BTAudioBufferGetFirstAudioRecord(store.get(), &index);
  EXPECT_DEATH(shorten_silence(store.get(), node.get(), store.first(), 0), "Assertion failed: frames != 0  ");
  EXPECT_DEATH(shorten_silence(store.get(), node.get(), store.first(), 10),
               "Assertion failed: frames < srec->frames  ");
}

}  // namespace
