// A block that changes must be marked, or what is in it is lost when its memory goes to another block. A forgotten mark
// shows only where the block is written and evicted just then, so here the marks themselves are looked at.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <vector>

#include "audiskdelay/BTAudioBuffer/consume.h"
#include "audiskdelay/BTAudioBuffer/store.h"

namespace auspool::testing {
namespace {

// Takes all marks away, runs `step`, and looks for blocks that it changed without marking them.
std::size_t unmarked_changes(BTAudioBuffer *buffer, const std::function<void()> &step) {
  struct Before {
    const BTAudioCacheBlock *block;
    BTAudioBID bid;
    std::vector<std::uint8_t> bytes;
  };
  std::vector<Before> blocks;
  for (BTAudioCacheBlock &block : buffer->blocks) {
    if (buffer->cacheBlocks.find(block.bid) != &block) continue;
    block.dirty = 0;
    blocks.push_back({&block, block.bid, {block.data, block.data + kBTAudioBlockSize}});
  }
  EXPECT_FALSE(blocks.empty());
  step();
  std::size_t count = 0;
  for (const Before &before : blocks) {
    const bool still_there = buffer->cacheBlocks.find(before.bid) == before.block;
    const bool changed = std::memcmp(before.block->data, before.bytes.data(), kBTAudioBlockSize) != 0;
    if (still_there && changed && !before.block->dirty) ++count;
  }
  return count;
}

class DirtyMarks : public ::testing::Test {
protected:
  void write_silence(std::uint64_t frames) { EXPECT_TRUE(BTAudioBufferWrite(store.get(), nullptr, 0, frames, true)); }
  void write_audio(std::uint32_t frames) {
    const Frames data = frames_from(store.end(), frames);
    EXPECT_TRUE(BTAudioBufferWrite(store.get(), data.data(), frames * 4, frames, true));
  }
  void gap() { BTAudioBufferWrite(store.get(), nullptr, 0, 1, false); }

  void expect_marked(const std::function<void()> &step, const char *what) {
    ASSERT_EQ(unmarked_changes(store.get(), step), 0u) << what << " at frame " << store.end();
  }

  Store store{{.maxFrames = 12000}};  // all of it stays in the cache
};

TEST_F(DirtyMarks, StandOnEveryBlockThatAWriteChanges) {
  for (int i = 0; i < 300; ++i) {
    expect_marked([&] { write_audio(7); }, "audio");
    expect_marked([&] { write_audio(5); }, "more of the same audio");
    expect_marked([&] { write_silence(3); }, "silence");
    expect_marked([&] { write_silence(3); }, "more of the same silence");
  }
}

// Some hundred leaves: nodes split, the root too, and leaves go at the old end meanwhile.
TEST_F(DirtyMarks, StandOnEveryNodeThatSplitsOrGoes) {
  for (int i = 0; i < 7000; ++i) {
    gap();
    write_silence(1);
  }
  for (int i = 0; i < 400; ++i) {
    gap();
    expect_marked([&] { write_silence(40); }, "a record in front of which others go");
  }
  EXPECT_EQ(store.length(), 12000u);
  EXPECT_TRUE(store.looked_through(true));
}

TEST_F(DirtyMarks, StandOnSilenceThatIsCutShort) {
  write_silence(11000);
  for (int i = 0; i < 200; ++i) {
    expect_marked([&] { EXPECT_TRUE(BTAudioBufferConsumeBlock(store.get(), 5)); }, "silence that is cut short");
  }
  EXPECT_EQ(store.start(), 1000u);
}

// The nodes take more than two blocks of the file, so that nodes of different blocks come to be neighbours and parents.
TEST_F(DirtyMarks, StandOnBothHalvesOfANodeAndOnParents) {
  constexpr int kRecords = 11500;
  for (int i = 0; i < kRecords; ++i) {
    gap();
    expect_marked([&] { write_silence(1); }, "a new record");
  }
  ASSERT_GT(store->cacheBlocks.size(), 2u);
  for (int i = 0; i < kRecords; ++i) {
    expect_marked([&] { EXPECT_TRUE(BTAudioBufferConsumeBlock(store.get(), 1)); }, "a record that goes");
  }
  EXPECT_EQ(store.length(), 0u);
}

}  // namespace
}  // namespace auspool::testing
