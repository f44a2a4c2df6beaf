// The store as its owner sees it.
#include <gtest/gtest.h>

#include "audiskdelay/BTAudioBuffer/store.h"
#include "support/watch.h"

using namespace auspool::testing;

namespace {

TEST(BTAudioBuffer, GivesBackWhatWasWritten) {
  Store store;
  EXPECT_TRUE(store.audio(100));
  EXPECT_TRUE(store.silence(50));
  EXPECT_TRUE(store.audio(3 * kFramesPerBlock));
  EXPECT_EQ(store.read_all(0, 100), frames_from(0, 100));
  EXPECT_EQ(store.read_all(100, 50), Frames(50, 0));
  EXPECT_EQ(store.read_all(150, 3 * kFramesPerBlock), frames_from(150, 3 * kFramesPerBlock));
}

TEST(BTAudioBuffer, TellsWhatItHolds) {
  Store store({.maxFrames = 1000});
  store.silence(1300);
  std::uint64_t start = 0, length = 0, bytes = 1;
  BTAudioBufferGetInfo(store.get(), &start, &length, &bytes);
  EXPECT_EQ(start, 300u);
  EXPECT_EQ(length, 1000u);
  EXPECT_EQ(bytes, 0u);
  BTAudioBufferGetInfo(store.get(), nullptr, nullptr, nullptr);
}

TEST(BTAudioBuffer, HoldsAnHourWhereNothingElseIsSaid) {
  EXPECT_EQ(Store({.maxFrames = 0})->maxFrames, 158760000u);
}

TEST(BTAudioBuffer, TakesTheFirstBlockForNodes) {
  const Store store;
  EXPECT_EQ(store->nextBlock, 1u);
  EXPECT_EQ(store->freeNodeCount, 127u);
  EXPECT_EQ(store->firstFreeNode, 1u) << "the lowest place first, and none at 0";
}

TEST(BTAudioBuffer, IsThereEvenIfNoBlockIs) {
  Store store({.blocksPerFile = 0});
  ASSERT_NE(store.get(), nullptr);
  EXPECT_EQ(store->freeNodeCount, 0u);
  EXPECT_FALSE(store.silence(1));
}

TEST(BTAudioBuffer, CreationFailsWithoutMemoryOrFile) {
  fail_each_allocation([] {
    BTAudioBuffer *const buffer = BTAudioBufferCreate(1000);
    BTAudioBufferDestroy(buffer);
    return buffer != nullptr;
  });
  EXPECT_EQ(create_on(nullptr, {}), nullptr);
}

TEST(BTAudioBuffer, WorksWithoutPinnedMemory) {
  const CallFailer failer("mlock");
  Store store;
  EXPECT_TRUE(store.audio(10));
  EXPECT_EQ(failer.failures(), 1);
}

TEST(BTAudioBuffer, DestructionAcceptsNull) {
  BTAudioBufferDestroy(nullptr);
}

TEST(BTAudioBuffer, AllocatesNothingAfterCreation) {
  Store store({.maxFrames = 40 * kFramesPerBlock});
  store.file().keep_history = false;
  std::vector<std::uint8_t> audio(4 * 1000);
  void *data = audio.data();
  const long before = allocation_count();
  for (int i = 0; i < 2000; ++i) {
    BTAudioBufferWrite(store.get(), audio.data(), 4000, 1000, true);
    BTAudioBufferWrite(store.get(), nullptr, 0, 10, true);
    std::uint32_t bytes = 4000;
    const std::uint64_t at = store.start() + store.length() / 2;
    ASSERT_TRUE(BTAudioBufferRead(store.get(), &at, &data, &bytes, nullptr, nullptr));
  }
  EXPECT_LT(allocation_count() - before, 60) << "but for the file in memory, whose vector grows";
}

}  // namespace
