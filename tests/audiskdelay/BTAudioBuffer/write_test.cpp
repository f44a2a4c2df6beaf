// Writing: records, blocks, silence, gaps, and what is cut off for them.
#include <gtest/gtest.h>

#include "audiskdelay/BTAudioBuffer/node.h"
#include "audiskdelay/BTAudioBuffer/store.h"
#include "audiskdelay/BTAudioBuffer/tree.h"

using namespace auspool::testing;

namespace {

// The record in which a frame lies.
BTAudioRecord record_of(const Store &store, std::uint64_t frame) {
  const BTAudioKey key(kBTAudioAudioRecord, frame);
  std::uint32_t index = 0;
  const BTAudioNodeOwner node = BTAudioBufferFindRecord(store.get(), &key, false, &index);
  BTAudioRecord record{};
  std::memcpy(&record, BTAudioNodeGetRecord(node.get(), index), BTAudioNodeGetRecordSize(node.get(), index));
  return record;
}

TEST(BTAudioWrite, NoFramesAreTrueAndNothing) {
  Store store;
  EXPECT_TRUE(BTAudioBufferWrite(store.get(), "", 4, 0, true));
  EXPECT_TRUE(store.silence(0));
  EXPECT_TRUE(store.gap(0));
  EXPECT_EQ(store->root, 0u);
}

TEST(BTAudioWrite, OnlyTheLow32BitsOfTheFramesCount) {
  Store store;
  EXPECT_TRUE(store.silence(std::uint64_t{1} << 32));
  EXPECT_EQ(store.end(), 0u);
  EXPECT_TRUE(store.silence((std::uint64_t{1} << 32) + 5));
  EXPECT_EQ(store.end(), 5u);
}

TEST(BTAudioWrite, OtherThanFourBytesAFrameFailAndWriteNothing) {
  Store store;
  const Frames data(100);
  for (const std::uint32_t bytes : {0u, 100u, 399u, 401u, 800u}) {
    EXPECT_FALSE(BTAudioBufferWrite(store.get(), data.data(), bytes, 100, true)) << bytes;
  }
  EXPECT_FALSE(BTAudioBufferWrite(store.get(), data.data(), 0, 0x40000000, true)) << "a product beyond 32 bits";
  EXPECT_EQ(store.end(), 0u);
  EXPECT_EQ(store->physicalTime, 0u);
  EXPECT_EQ(store->root, 0u);
}

TEST(BTAudioWrite, FollowingAudioExtendsTheRecord) {
  Store store;
  store.audio(3);
  EXPECT_EQ(record_of(store, 0).blocks[1], block_bid(1) + 2) << "12 bytes rounded up to 16";
  store.audio(4);
  const BTAudioRecord record = record_of(store, 6);
  EXPECT_EQ(record.frameTime(), 0u);
  EXPECT_EQ(record.frames, 7u);
  EXPECT_EQ(record.blocks[0], block_bid(1));
  EXPECT_EQ(record.blocks[1], block_bid(1) + 4);
  EXPECT_EQ(store.read_all(0, 7), frames_from(0, 7)) << "without a hole where the end was rounded up";
}

TEST(BTAudioWrite, ANewRecordStartsAtTheRoundedEnd) {
  Store store;
  store.audio(3);
  store.gap(1);
  store.audio(3);
  EXPECT_EQ(record_of(store, 3).blocks[0], block_bid(1) + 2);
  EXPECT_EQ(store.read_all(0, 6), frames_from(0, 6));
}

TEST(BTAudioWrite, AudioThatFillsABlockLeavesItToTheNextWriteToClose) {
  Store store;
  store.audio(kFramesPerBlock);
  EXPECT_EQ(store->writeBID, block_bid(1) + 16383);
  EXPECT_EQ(store->cacheBlocks.find(block_bid(1))->full, 0);
  store.audio(1);
  EXPECT_EQ(store->cacheBlocks.find(block_bid(1))->full, 1);
  EXPECT_EQ(store->writeBID, block_bid(2) + 1);
  EXPECT_EQ(record_of(store, kFramesPerBlock).blocks[0], block_bid(2));
}

TEST(BTAudioWrite, TheLastFrameOfABlockIsUsed) {
  Store store;
  store.audio(kFramesPerBlock - 1);
  EXPECT_EQ(store->writeBID, block_bid(1) + 16383) << "rounded up";
  store.audio(2);
  EXPECT_EQ(record_of(store, 0).frames, kFramesPerBlock);
  EXPECT_EQ(record_of(store, kFramesPerBlock).frames, 1u);
  store.gap(1);
  store.audio(kFramesPerBlock - 3);
  EXPECT_EQ(store->writeBID, block_bid(2) + 16383);
  store.gap(1);
  store.audio(1);
  EXPECT_EQ(record_of(store, store.end() - 1).blocks[0], block_bid(3)) << "a new record has no room behind it";
}

TEST(BTAudioWrite, LongAudioTakesManyBlocks) {
  Store store;
  store.audio(5 * kFramesPerBlock + 10);
  EXPECT_EQ(store->nextBlock, 7u);
  EXPECT_EQ(store.read_all(0, 5 * kFramesPerBlock + 10), frames_from(0, 5 * kFramesPerBlock + 10));
}

TEST(BTAudioWrite, SilenceAfterSilenceIsOneRecord) {
  Store store;
  store.silence(10);
  store.silence(1000000);
  EXPECT_EQ(record_of(store, 0).frames, 1000010u);
  EXPECT_EQ(record_of(store, 1000009).frameTime(), 0u);
  EXPECT_EQ(store->nextBlock, 1u) << "and takes no space";
}

TEST(BTAudioWrite, AGapBetweenSilencesMakesTwoRecords) {
  Store store;
  store.silence(10);
  store.gap(5);
  store.silence(10);
  const BTAudioRecord second = record_of(store, 15);
  EXPECT_EQ(second.frameTime(), 10u) << "the times go on";
  EXPECT_EQ(second.physicalTime, 15u);
}

TEST(BTAudioWrite, ASilenceRecordHoldsNoMoreThan32BitsOfFrames) {
  Store store({.maxFrames = UINT64_MAX});
  store.silence(0xFFFFFFFE);
  store.silence(3);
  EXPECT_EQ(record_of(store, 0).frames, 0xFFFFFFFFu);
  EXPECT_EQ(record_of(store, store.end() - 1).frames, 2u);
  EXPECT_EQ(store.end(), 0x100000001u);
  store.silence(1);
  EXPECT_EQ(record_of(store, store.end() - 1).frames, 3u);
}

// Written to the file as they were, and still in the cache.
TEST(BTAudioWrite, WhatChangesInABlockIsToBeWrittenAgain) {
  Store store;
  const auto now_dirty = [&](std::uint32_t index, auto change) {
    BTAudioCacheBlock *const block = store->cacheBlocks.find(block_bid(index));
    block->dirty = 0;
    change();
    return block->dirty == 1;
  };
  store.audio(10);
  EXPECT_TRUE(now_dirty(1, [&] { store.audio(10); })) << "more audio";
  EXPECT_TRUE(now_dirty(0, [&] { store.audio(10); })) << "a longer record";
  store.silence(10);
  EXPECT_TRUE(now_dirty(0, [&] { store.silence(10); })) << "a longer silence";
  EXPECT_TRUE(now_dirty(0, [&] { store.gap(1), store.silence(10); })) << "another record";
  EXPECT_TRUE(now_dirty(1, [&] { store.audio(10); })) << "another record's audio";
}

TEST(BTAudioWrite, TheTrimTakesWholeAudioRecords) {
  Store store({.maxFrames = 3 * kFramesPerBlock});
  store.audio(3 * kFramesPerBlock);
  EXPECT_EQ(store.length(), 3 * kFramesPerBlock);
  store.audio(1);
  EXPECT_EQ(store.length(), 2 * kFramesPerBlock + 1) << "one frame too many took 32,766 away";
  EXPECT_EQ(store.start(), kFramesPerBlock);
  EXPECT_EQ(store.read_all(store.start(), 2 * kFramesPerBlock + 1),
            frames_from(kFramesPerBlock, 2 * kFramesPerBlock + 1));
}

TEST(BTAudioWrite, TheTrimShortensSilenceToTheFrame) {
  Store store({.maxFrames = 100});
  store.silence(80);
  store.audio(30);
  EXPECT_EQ(store.length(), 100u);
  EXPECT_EQ(store.start(), 10u);
  const BTAudioRecord rest = record_of(store, 10);
  EXPECT_EQ(rest.frameTime(), 10u);
  EXPECT_EQ(rest.physicalTime, 10u);
  EXPECT_EQ(rest.frames, 70u);
}

TEST(BTAudioWrite, MoreThanTheMaximumAtOnceKeepsTheEndOfSilenceAndNothingOfARecordTooLong) {
  Store store({.maxFrames = 100});
  store.silence(1000);
  EXPECT_EQ(store.start(), 900u);
  store.audio(200);
  EXPECT_EQ(store.length(), 0u);
  EXPECT_EQ(store->root, 0u);
  EXPECT_TRUE(store.audio(50));
  EXPECT_EQ(store.read_all(store.start(), 50), frames_from(1200, 50));
}

TEST(BTAudioWrite, AudioGoesOnInItsBlockAfterEarlierRecordsOfItWereCutOff) {
  Store store({.maxFrames = 100});
  for (int i = 0; i < 10; ++i) {
    store.audio(60);
    store.gap(1);
  }
  EXPECT_EQ(store->nextBlock, 2u);
  EXPECT_EQ(store.read_all(store.start(), 60), frames_from(540, 60));
}

TEST(BTAudioWrite, AudioThatIsNoAudioIsAMistake) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Store store;
  EXPECT_DEATH(BTAudioBufferWrite(store.get(), "1234", 4, 1, false),
               "Assertion failed: false  src/audiskdelay/BTAudioBuffer:[0-9]+\n");
}

// The disk is full, and no audio is left that could make room.
TEST(BTAudioWrite, FailsWhereNothingMakesRoomAndKeepsWhatWasStored) {
  Store store({.cacheBlocks = 6});
  store.file().fault = always_failing(ENOSPC);
  const Frames data = frames_from(0, 20 * kFramesPerBlock);
  ::testing::internal::CaptureStderr();
  EXPECT_TRUE(store.audio(2 * kFramesPerBlock));
  store->consuming = 1;  // as where older audio cannot make room
  EXPECT_FALSE(BTAudioBufferWrite(store.get(), data.data() + 2 * kFramesPerBlock, 18 * kFramesPerBlock * 4,
                                  18 * kFramesPerBlock, true));
  store->consuming = 0;
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Append failed: No space left on device\n");
  EXPECT_EQ(store.end(), 5 * kFramesPerBlock) << "as much as the cache holds beside the nodes";
  EXPECT_EQ(store.read_all(0, 5 * kFramesPerBlock), frames_from(0, 5 * kFramesPerBlock));
  store.looked_through(true);
}

TEST(BTAudioWrite, OlderAudioMakesRoomWhereTheDiskIsFull) {
  Store store({.cacheBlocks = 6});
  store.file().fault = always_failing(ENOSPC);
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(store.audio(kFramesPerBlock / 3));
  EXPECT_GT(store.length(), 3 * kFramesPerBlock);
  EXPECT_EQ(store.read_all(store.start(), 1000), frames_from(store.start(), 1000));
  store.file().fault = nullptr;
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(store.audio(kFramesPerBlock / 3));
  EXPECT_GT(store.length(), 30 * kFramesPerBlock) << "the disk has room again";
}

}  // namespace
