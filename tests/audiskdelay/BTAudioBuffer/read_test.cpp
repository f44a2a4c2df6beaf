// Reading, and how far back in real time a frame lies.
#include <gtest/gtest.h>

#include <cstdlib>

#include "audiskdelay/BTAudioBuffer/node.h"
#include "audiskdelay/BTAudioBuffer/nodes.h"
#include "audiskdelay/BTAudioBuffer/store.h"
#include "audiskdelay/BTAudioBuffer/tree.h"
#include "support/watch.h"

using namespace auspool::testing;

namespace {

TEST(BTAudioRead, OfAnEmptyStoreIsFalse) {
  const Store store;
  EXPECT_TRUE(store.read(0, 10).empty());
}

TEST(BTAudioRead, GivesNoMoreThanOneRecord) {
  Store store;
  store.audio(10);
  store.silence(10);
  EXPECT_EQ(store.read(4, 100), frames_from(4, 6));
  EXPECT_EQ(store.read(10, 100), Frames(10, 0));
  EXPECT_EQ(store.read(10, 3), Frames(3, 0));
}

TEST(BTAudioRead, OutsideOfWhatIsHeldIsFalse) {
  Store store({.maxFrames = 100});
  store.silence(150);
  EXPECT_TRUE(store.read(49, 1).empty());
  EXPECT_FALSE(store.read(50, 1).empty());
  EXPECT_FALSE(store.read(149, 1).empty());
  EXPECT_TRUE(store.read(150, 1).empty());
}

TEST(BTAudioRead, TellsWhatThereIsWithoutReading) {
  Store store;
  store.audio(100);
  std::uint64_t at = 30;
  std::uint32_t bytes = 0, frames = 0;
  std::uint8_t flag = 0;
  ASSERT_TRUE(BTAudioBufferRead(store.get(), &at, nullptr, &bytes, &frames, &flag));
  EXPECT_EQ(bytes, 280u);
  EXPECT_EQ(frames, 70u);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(at, 30u);
  EXPECT_TRUE(BTAudioBufferRead(store.get(), &at, nullptr, nullptr, nullptr, nullptr));
}

TEST(BTAudioRead, NeedsToKnowHowMuchFits) {
  Store store;
  store.audio(100);
  const std::uint64_t at = 0;
  std::uint32_t room[10];
  void *data = room;
  EXPECT_FALSE(BTAudioBufferRead(store.get(), &at, &data, nullptr, nullptr, nullptr));
}

TEST(BTAudioRead, LeavesOutOddBytes) {
  Store store;
  store.audio(100);
  const std::uint64_t at = 0;
  std::uint32_t room[2] = {0, 77};
  void *data = room;
  std::uint32_t bytes = 7, frames = 9;
  EXPECT_TRUE(BTAudioBufferRead(store.get(), &at, &data, &bytes, &frames, nullptr));
  EXPECT_EQ(bytes, 4u);
  EXPECT_EQ(frames, 1u);
  EXPECT_EQ(room[1], 77u);
  bytes = 3;
  EXPECT_TRUE(BTAudioBufferRead(store.get(), &at, &data, &bytes, &frames, nullptr));
  EXPECT_EQ(frames, 0u);
}

TEST(BTAudioRead, AllocatesUpTo512FramesOnDemand) {
  Store store;
  store.audio(1000);
  const std::uint64_t at = 10;
  const auto allocated = [&](std::uint32_t bytes) {
    void *data = nullptr;
    std::uint32_t frames = 0;
    EXPECT_TRUE(BTAudioBufferRead(store.get(), &at, &data, &bytes, &frames, nullptr));
    EXPECT_NE(data, nullptr);
    const auto *const words = static_cast<std::uint32_t *>(data);
    EXPECT_EQ(Frames(words, words + frames), frames_from(10, frames));
    std::free(data);
    EXPECT_EQ(bytes, frames * 4);
    return frames;
  };
  EXPECT_EQ(allocated(400), 100u);
  EXPECT_EQ(allocated(2051), 512u);
  EXPECT_EQ(allocated(2052), 512u);
  EXPECT_EQ(allocated(1 << 20), 512u);
  EXPECT_EQ(allocated(0), 0u);
}

TEST(BTAudioRead, WithoutMemoryIsFalseAndChangesNothing) {
  Store store;
  store.audio(100);
  const std::uint64_t at = 0;
  void *data = nullptr;
  std::uint32_t bytes = 40, frames = 9;
  const CallFailer failer("malloc");
  EXPECT_FALSE(BTAudioBufferRead(store.get(), &at, &data, &bytes, &frames, nullptr));
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(bytes, 40u);
  EXPECT_EQ(frames, 9u);
}

TEST(BTAudioRead, FindsWhatWasEvicted) {
  Store store({.cacheBlocks = 6});
  store.audio(40 * kFramesPerBlock);
  for (std::uint64_t at = 0; at < store.end(); at += 50000) EXPECT_EQ(store.read_all(at, 10), frames_from(at, 10));
  store.looked_through(true);
}

TEST(BTAudioRead, OfWhatCannotBeFetchedIsFalseAndSaysSo) {
  Store store({.cacheBlocks = 6});
  store.audio(40 * kFramesPerBlock);
  store.file().fault = always_failing(EIO);
  for (const BTAudioCacheBlock &block : store->blocks)
    const_cast<BTAudioCacheBlock &>(block).dirty = block.owner && !store->freeCacheBlocks.contains(&block);
  store->consuming = 1;  // no older audio makes room
  ::testing::internal::CaptureStderr();
  void *data = nullptr;
  std::uint32_t bytes = 400;
  const std::uint64_t at = 1000;
  const long before = live_allocations();
  EXPECT_FALSE(BTAudioBufferRead(store.get(), &at, &data, &bytes, nullptr, nullptr));
  EXPECT_EQ(live_allocations(), before);
  const std::string said = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(said.find("Check failed: (block = BTAudioBufferGetCacheBlockWithBID(buffer,frec->blocks[0])) != NULL  "
                      "src/audiskdelay/BTAudioBuffer:"),
            std::string::npos)
      << said;
  store->consuming = 0;
}

TEST(BTAudioRead, OfARecordThatIsNotThereIsFalseAndSaysSo) {
  Store store;
  store.audio(10);
  store->startFrame = 0;
  store->endFrame = 20;
  const BTAudioKey key(kBTAudioAudioRecord, 0);
  BTAudioBufferDeleteRecord(store.get(), &key);
  ::testing::internal::CaptureStderr();
  EXPECT_TRUE(store.read(5, 1).empty());
  const std::string said = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(said.rfind("Check failed: node = BTAudioBufferFindRecord(buffer,&key,false,&recdex)  "
                       "src/audiskdelay/BTAudioBuffer:",
                       0),
            0u)
      << said;
}

BTAudioRecord *first_of(const Store &store) {
  const BTAudioKey key(kBTAudioAudioRecord, 0);
  std::uint32_t index = 0;
  return record_at<BTAudioRecord>(BTAudioBufferFindRecord(store.get(), &key, true, &index).get(), index);
}

TEST(BTAudioReadDeath, OnARecordThatEndsBeforeThePosition) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Store store;
  store.silence(10);
  first_of(store)->frames = 5;
  EXPECT_DEATH(store.read(7, 1), "Assertion failed: rec->base.frames > \\(\\*froffset - rec->key.audio.frameTime\\)  ");
}

TEST(BTAudioReadDeath, OnAReservedRecord) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Store store;
  store.silence(10);
  first_of(store)->key = BTAudioKey(kBTAudioReservedRecord, 0);
  EXPECT_DEATH(store.read(7, 1), "Assertion failed: false  ");
}

// The leaf before, where the search ends, is out of order.
TEST(BTAudioReadDeath, OnARecordThatBeginsBehindThePosition) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Store store;
  for (int i = 0; i < 60; ++i) {
    store.silence(10);
    store.gap(1);
  }
  const BTAudioNodeOwner last = BTAudioBufferGetNode(store.get(), store->lastLeaf);
  const BTAudioNodeOwner first = BTAudioBufferGetNode(store.get(), store->firstLeaf);
  const std::uint64_t time = key_at(last.get(), 0)->value();
  *key_at(last.get(), 0) = BTAudioKey(kBTAudioSilenceRecord, time + 5);
  *key_at(first.get(), record_count(first.get()) - 1) = BTAudioKey(kBTAudioSilenceRecord, time + 3);
  EXPECT_DEATH(store.read(time, 1), "Assertion failed: \\*froffset >= rec->key.audio.frameTime  ");
}

TEST(BTAudioPhysicalOffset, IsTheGapsBehindTheFrame) {
  Store store;
  store.silence(10);
  store.gap(5);
  store.audio(10);
  store.gap(7);
  store.audio(10);
  const auto offset = [&](std::uint64_t frame) { return BTAudioBufferGetPhysicalOffset(store.get(), frame); };
  EXPECT_EQ(offset(0), 12u);
  EXPECT_EQ(offset(9), 12u);
  EXPECT_EQ(offset(10), 7u) << "behind the first gap";
  EXPECT_EQ(offset(19), 7u);
  EXPECT_EQ(offset(20), 0u) << "behind the last";
  EXPECT_EQ(offset(29), 0u);
  EXPECT_EQ(offset(30), 0u) << "not there yet";
  store.gap(3);
  EXPECT_EQ(offset(29), 3u) << "a gap at the end counts for all that is held";
  EXPECT_EQ(offset(0), 15u);
  EXPECT_EQ(offset(30), 0u);
}

TEST(BTAudioPhysicalOffset, OfAFrameCutOffIsThatOfTheOldest) {
  Store store({.maxFrames = 20});
  store.silence(10);
  store.gap(5);
  store.silence(15);
  store.gap(7);
  EXPECT_EQ(BTAudioBufferGetPhysicalOffset(store.get(), 0), 12u);
  store.silence(10);
  EXPECT_EQ(BTAudioBufferGetPhysicalOffset(store.get(), 0), 7u);
}

TEST(BTAudioPhysicalOffset, OfAnEmptyStoreIsNone) {
  EXPECT_EQ(BTAudioBufferGetPhysicalOffset(Store().get(), 0), 0u);
}

}  // namespace
