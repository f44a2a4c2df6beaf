// Blocks of the file: which are used next, which again, and whose disk space is given back.
#include "audiskdelay/BTAudioBuffer/file_blocks.h"

#include <gtest/gtest.h>

#include "audiskdelay/BTAudioBuffer/cache.h"
#include "audiskdelay/BTAudioBuffer/consume.h"
#include "audiskdelay/BTAudioBuffer/store.h"

using namespace auspool::testing;

namespace {

TEST(BTAudioFileBlocks, AreFreeOnesFirstThenNewOnes) {
  Store store({.blocksPerFile = 4});
  EXPECT_EQ(take_file_block(store.get()), 1u);
  EXPECT_TRUE(free_file_block(store.get(), 1));
  EXPECT_EQ(store->freeBlockCount, 1u);
  EXPECT_EQ(take_file_block(store.get()), 1u);
  EXPECT_EQ(take_file_block(store.get()), 2u);
  EXPECT_EQ(take_file_block(store.get()), 3u);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(take_file_block(store.get()), std::nullopt) << "full, and no audio could make room";
  ::testing::internal::GetCapturedStderr();
}

TEST(BTAudioFileBlocks, OfTheOldestAudioWhereTheFileIsFull) {
  Store store({.blocksPerFile = 11});
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(store.audio(kFramesPerBlock / 2));
  EXPECT_EQ(store->nextBlock, 11u);
  EXPECT_GE(store.length(), 9 * kFramesPerBlock);
  const auto length = static_cast<std::uint32_t>(store.length());
  EXPECT_EQ(store.read_all(store.start(), length), frames_from(store.start(), length));
  EXPECT_TRUE(store.file().holes.empty()) << "blocks that are used again keep their disk space";
}

TEST(BTAudioFileBlocks, GoOnTheListAtItsEndAndComeOffItsStart) {
  Store store;
  for (int i = 0; i < 5; ++i) take_file_block(store.get());
  for (const std::uint32_t index : {3u, 1u, 5u}) free_file_block(store.get(), index);
  for (const std::uint32_t index : {3u, 1u, 5u}) EXPECT_EQ(take_file_block(store.get()), index);
  EXPECT_EQ(store->firstFreeID, 0u);
  EXPECT_EQ(store->nextFreeID, 4u);
  EXPECT_EQ(store->root, 0u);
}

TEST(BTAudioFileBlocks, ABlockWhoseRecordFindsNoRoomIsLostAndSaysSo) {
  Store store({.blocksPerFile = 3});
  const auto audio = take_file_block(store.get());
  store->firstFreeNode = 0;  // so that the list's record would need a block for nodes
  store->nextBlock = 3;
  store->consuming = 1;
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(free_file_block(store.get(), *audio));
  const std::string said = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(said.rfind("Check failed: BTAudioBufferInsertRecord(buffer,&nubrec.key,&nubrec,sizeof(nubrec))  "
                       "src/audiskdelay/BTAudioBuffer:",
                       0),
            0u)
      << said;
  EXPECT_EQ(store->freeBlockCount, 0u);
  EXPECT_EQ(store->lostBlockCount, 1u);
}

TEST(BTAudioFileBlocks, NoLongerHeldBecomeHolesManyAtATime) {
  constexpr std::uint32_t kHeld = 40;
  Store store({.maxFrames = kHeld * kFramesPerBlock});
  for (int i = 0; i < 200; ++i) store.audio(kFramesPerBlock);
  ASSERT_EQ(store.file().holes.size(), 2u);
  EXPECT_EQ(store.file().holes[0], (MemoryFile::Span{kBTAudioBlockSize, 64 * kBTAudioBlockSize}));
  EXPECT_EQ(store.file().holes[1], (MemoryFile::Span{65 * kBTAudioBlockSize, 64 * kBTAudioBlockSize}));
  EXPECT_EQ(store->freeBlockCount, 0u) << "and are not used again";
  EXPECT_EQ(store->nextBlock, 201u);
  EXPECT_EQ(store.read_all(store.start(), kHeld * kFramesPerBlock),
            frames_from(store.start(), kHeld * kFramesPerBlock));
}

TEST(BTAudioFileBlocks, OnlyOnesSideBySideBecomeOneHole) {
  Store store;
  for (int i = 0; i < 9; ++i) take_file_block(store.get());
  for (const std::uint32_t index : {3u, 4u, 7u, 6u}) lose_file_block(store.get(), index);
  const std::vector<MemoryFile::Span> expected = {{3 * kBTAudioBlockSize, 2 * kBTAudioBlockSize},
                                                  {7 * kBTAudioBlockSize, kBTAudioBlockSize}};
  EXPECT_EQ(store.file().holes, expected);
  EXPECT_EQ(store->firstLostBlock, 6u);
}

TEST(BTAudioFileBlocks, LostInTheCacheAreNeverWritten) {
  Store store({.maxFrames = 5 * kFramesPerBlock});
  for (int i = 0; i < 100; ++i) store.audio(kFramesPerBlock);
  EXPECT_TRUE(store.file().writes.empty()) << "so short a store lies in memory";
}

// The block that is being written goes while it is full but not closed: its place in the file may never have been
// there.
TEST(BTAudioFileBlocks, AudioDoesNotGoOnInALostBlock) {
  Store store({.maxFrames = 10});
  store.audio(kFramesPerBlock);
  EXPECT_EQ(store.length(), 0u);
  EXPECT_EQ(store->writeBID, 0u);
  EXPECT_TRUE(store.audio(10));
  EXPECT_EQ(store.read(store.start(), 10), frames_from(kFramesPerBlock, 10));
}

// Once the file is full, audio pushed out by silence takes its blocks with it.
TEST(BTAudioFileBlocks, ALongSilenceInAFullFileLeavesNoRoomForAudio) {
  Store store({.maxFrames = 20 * kFramesPerBlock, .blocksPerFile = 60});
  for (int i = 0; i < 100; ++i) store.audio(kFramesPerBlock);
  const std::uint64_t full = store.length();
  EXPECT_GE(full, 19 * kFramesPerBlock);
  EXPECT_TRUE(store.silence(5 * kFramesPerBlock));
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(store.audio(kFramesPerBlock));
  EXPECT_LT(store.length(), full - 3 * kFramesPerBlock);
  EXPECT_TRUE(store.silence(20 * kFramesPerBlock));
  for (int i = 0; i < 10; ++i) store.audio(kFramesPerBlock);
  EXPECT_LE(store.length(), 20 * kFramesPerBlock);
}

TEST(BTAudioFileBlocksDeath, OnAListWithoutItsFirstRecord) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const Store store;
  store->firstFreeID = 77;
  EXPECT_DEATH(take_file_block(store.get()), "Assertion failed: BTAudioBufferDeleteRecord\\(buffer,&key\\)  ");
  EXPECT_DEATH(free_file_block(store.get(), 0), "Assertion failed: blockIndex != 0  ");
}

}  // namespace
