// Writing the cache to the file: which blocks, in what order, and what failures leave behind.
#include "audiskdelay/BTAudioBuffer/flush.h"

#include <gtest/gtest.h>

#include "audiskdelay/BTAudioBuffer/cache.h"
#include "audiskdelay/BTAudioBuffer/store.h"

using namespace auspool::testing;

namespace {

using Span = MemoryFile::Span;

Span block_span(std::uint64_t index) {
  return {index * kBTAudioBlockSize, kBTAudioBlockSize};
}

// `count` blocks in the cache, the one with nodes among them, unwritten and not full.
struct Cached : Store {
  explicit Cached(std::uint32_t count, const BTAudioBufferLimits &limits = {}) : Store(limits) {
    while (get()->nextBlock < count) BTAudioBufferGetCacheBlock(get(), true, 0);
  }
  BTAudioCacheBlock *block(std::uint32_t index) const { return get()->cacheBlocks.find(block_bid(index)); }
  std::uint32_t flush() const { return BTAudioBufferFlushCacheBlocks(get()); }
  void drop(std::uint32_t index) const {
    block(index)->dirty = 0;
    empty_cache_block(block(index));
  }
};

TEST(BTAudioFlush, WritesFullBlocksAndTheOlderHalfOfTheRest) {
  const Cached store(8);
  store.block(6)->full = 1;
  EXPECT_EQ(store.flush(), 7u) << "0 to 3 are the older half, 6 is full, and the file grows by 4 and 5 on the way";
  EXPECT_EQ(store.file().writes.size(), 7u);
  for (std::uint32_t i = 0; i < 7; ++i) {
    EXPECT_EQ(store.file().writes[i], block_span(i)) << "in rising order";
    EXPECT_EQ(store.block(i)->dirty, 0);
    EXPECT_EQ(store.block(i)->full, 0);
  }
  EXPECT_EQ(store.block(7)->dirty, 1);
  EXPECT_EQ(store->fileSize, 7 * kBTAudioBlockSize);
}

TEST(BTAudioFlush, LeavesCleanBlocksAndThoseInUseAlone) {
  const Cached store(8);
  const BTAudioBlockOwner used = BTAudioBufferGetCacheBlockWithBID(store.get(), 0);
  store.block(1)->dirty = 0;
  store->fileSize = 8 * kBTAudioBlockSize;
  EXPECT_EQ(store.flush(), 2u) << "of 7 on the list the older 3 are 1, 2 and 3";
  EXPECT_EQ(store.file().writes, (std::vector<Span>{block_span(2), block_span(3)}));
}

TEST(BTAudioFlush, WritesABlockInUseWhereTheFileMustGrowByIt) {
  const Cached store(4);
  const BTAudioBlockOwner used = BTAudioBufferGetCacheBlockWithBID(store.get(), 0);
  store.block(3)->full = 1;
  EXPECT_EQ(store.flush(), 4u);
  EXPECT_EQ(used->dirty, 0);
}

TEST(BTAudioFlush, FillsHolesInTheOrderByWritingTheNextBlockThereToo) {
  const Cached store(5);
  store.drop(1);
  store.drop(2);
  store.block(4)->full = 1;
  EXPECT_EQ(store.flush(), 3u);
  const std::vector<Span> expected = {block_span(0), block_span(1), block_span(2), block_span(3), block_span(4)};
  EXPECT_EQ(store.file().writes, expected);
  EXPECT_EQ(store.file().holes, (std::vector<Span>{block_span(1), block_span(2)})) << "whose disk space is given back";
  EXPECT_EQ(store.block(3)->dirty, 0);
}

// The block must come to lie in its own place, however the file grew before.
TEST(BTAudioFlush, ABlockBeyondTheEndReachesItsOwnPlace) {
  const Cached store(4);
  for (std::uint32_t i = 0; i < 3; ++i) store.drop(i);
  std::memset(store.block(3)->data, 0x5A, kBTAudioBlockSize);
  store.block(3)->full = 1;
  EXPECT_EQ(store.flush(), 1u);
  std::uint8_t byte = 0;
  ASSERT_EQ(store.file().read(3 * kBTAudioBlockSize, &byte, 1), 1);
  EXPECT_EQ(byte, 0x5A);
}

TEST(BTAudioFlush, StopsWhereTheFileCannotGrow) {
  const Cached store(8);
  for (std::uint32_t i = 0; i < 8; ++i) store.block(i)->full = 1;
  store.file().fault = [](std::uint64_t offset, std::size_t bytes) {
    errno = ENOSPC;
    return offset < 3 * kBTAudioBlockSize ? std::int64_t(bytes) : -1;
  };
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(store.flush(), 3u);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Append failed: No space left on device\n");
  EXPECT_EQ(store.file().writes.size(), 4u);
  EXPECT_EQ(store.block(3)->dirty, 1);
  EXPECT_EQ(store.block(3)->full, 1);
  EXPECT_EQ(store->fileSize, 3 * kBTAudioBlockSize);
}

TEST(BTAudioFlush, GoesOnWhereABlockInTheFileCannotBeWritten) {
  const Cached store(4);
  for (std::uint32_t i = 0; i < 4; ++i) store.block(i)->full = 1;
  store->fileSize = 4 * kBTAudioBlockSize;
  store.file().fault = [](std::uint64_t offset, std::size_t bytes) {
    errno = EIO;
    return offset != kBTAudioBlockSize ? std::int64_t(bytes) : -1;
  };
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(store.flush(), 3u);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Write failed: Input/output error\n");
  EXPECT_EQ(store.block(1)->dirty, 1);
  EXPECT_EQ(store.block(2)->dirty, 0);
}

TEST(BTAudioFlush, AShortWriteIsAFailureWithoutAnError) {
  const Cached store(4);
  store.file().fault = always_failing(0);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(store.flush(), 0u);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Append failed: Unknown error -1\n");
  EXPECT_EQ(store->fileSize, 0u);
}

TEST(BTAudioFlush, TellsOfFailuresOnceAMinute) {
  const Cached store(4);
  store.file().fault = always_failing(EIO);
  ::testing::internal::CaptureStderr();
  store.flush();
  store.flush();
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Append failed: Input/output error\n");
  ::testing::internal::CaptureStderr();
  store->lastErrorTime -= 61;
  store.flush();
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Append failed: Input/output error\n");
}

TEST(BTAudioEviction, TakesAsManyAsWereFlushedFromTheOldest) {
  const Cached store(8);
  for (std::uint32_t i = 0; i < 8; ++i) store.block(i)->dirty = i == 2;
  evict(store.get(), 4);
  EXPECT_EQ(store->freeCacheBlocks.size(), 32u - 8 + 4);
  for (std::uint32_t i = 0; i < 8; ++i) EXPECT_EQ(store.block(i) != nullptr, i == 2 || i > 4) << i;
}

TEST(BTAudioEviction, TakesTwoIfNoneWasFlushed) {
  const Cached store(8);
  for (std::uint32_t i = 0; i < 8; ++i) store.block(i)->dirty = 0;
  evict(store.get(), 0);
  EXPECT_EQ(store->freeCacheBlocks.size(), 32u - 8 + 2);
}

TEST(BTAudioFlushDeath, OnABlockInThePlaceOfAnother) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const Cached store(4);
  store.block(3)->full = 1;
  store.block(1)->bid = block_bid(2);  // where the cache does not look for it
  EXPECT_DEATH(store.flush(), "Assertion failed: !CFSetContainsValue\\(blockSet,block\\)  ");
}

TEST(BTAudioFlushDeath, OnTwoBlocksInOnePlace) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const Cached store(4);
  store.block(2)->full = store.block(3)->full = 1;
  store.block(3)->bid = block_bid(2);
  EXPECT_DEATH(store.flush(), "Assertion failed: blockIndex == lastBlockIndex  ");
}

}  // namespace
