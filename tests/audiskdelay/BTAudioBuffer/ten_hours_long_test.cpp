// Ten hours through a store of one, on a real file.
#include <gtest/gtest.h>

#include <fstream>
#include <numeric>
#include <random>
#include <string>

#include "audiskdelay/BTAudioBuffer/store.h"
#include "support/temporary_files.h"

using namespace auspool::testing;

namespace {

constexpr std::uint64_t kRate = 44100, kHour = 3600 * kRate;
constexpr std::uint32_t kFramesPerWrite = 4096;  // the delays' 16 KiB

std::uint64_t resident_kilobytes() {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word && word != "VmRSS:") {
  }
  std::uint64_t kilobytes = 0;
  status >> kilobytes;
  return kilobytes;
}

std::uint32_t level_of_root(const BTAudioBuffer *buffer) {
  const std::uint8_t *const block = buffer->cacheBlocks.find(block_key(buffer->root))->data;
  return block[node_place_of(buffer->root) * kBTAudioNodeSize + 13];
}

class TenHours : public ::testing::Test {
protected:
  ~TenHours() override { BTAudioBufferDestroy(buffer); }

  void write(std::uint64_t frames, bool audio) {
    for (; frames > 0; frames -= std::min<std::uint64_t>(frames, kFramesPerWrite)) {
      const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(frames, kFramesPerWrite));
      // Frames are their own numbers, which the processor can count fast enough.
      if (audio) std::iota(data.begin(), data.end(), static_cast<std::uint32_t>(buffer->endFrame));
      ASSERT_TRUE(BTAudioBufferWrite(buffer, audio ? data.data() : nullptr, audio ? count * 4 : 0, count, true));
    }
  }

  void expect_frames_anywhere() {
    std::mt19937_64 random(5);
    for (int i = 0; i < 200; ++i) {
      const std::uint64_t at = buffer->startFrame + random() % (buffer->endFrame - buffer->startFrame);
      void *to = data.data();
      std::uint32_t bytes = 4096, frames = 0;
      ASSERT_TRUE(BTAudioBufferRead(buffer, &at, &to, &bytes, &frames, nullptr));
      for (std::uint32_t k = 0; k < frames; ++k) ASSERT_TRUE(data[k] == at + k || data[k] == 0) << at + k;
    }
  }

  BTAudioBuffer *const buffer = BTAudioBufferCreate(kHour);
  Frames data = Frames(kFramesPerWrite);
};

TEST_F(TenHours, OfSoundTakeTheMemoryAndTheDiskOfOne) {
  std::uint64_t memory_after_an_hour = 0;
  for (int hour = 1; hour <= 10; ++hour) {
    write(kHour, true);
    expect_frames_anywhere();
    const NamelessFile file = look_at_nameless_file();
    const std::uint64_t memory = resident_kilobytes();
    if (hour == 1) memory_after_an_hour = memory;
    std::printf(
        "%2d hours: %zu blocks, %llu MB, %llu MB of it on disk, %llu KB in the page cache; %llu KB of memory; "
        "%u levels\n",
        hour, std::size_t{buffer->nextBlock}, file.bytes / 1000000ull, file.disk_bytes / 1000000ull,
        file.cached_bytes / 1000ull, memory + 0ull, level_of_root(buffer));
    EXPECT_LE(buffer->endFrame - buffer->startFrame, kHour);
    EXPECT_GT(buffer->endFrame - buffer->startFrame, kHour - 32766);
    EXPECT_LE(memory, memory_after_an_hour + 2000);
    if (file.in_memory) continue;
    EXPECT_LT(file.disk_bytes, 660000000u) << "an hour, and what is not given back yet";
    EXPECT_EQ(file.cached_bytes, 0u);
  }
  EXPECT_EQ(StoreChecker::problems_of(buffer), "");
  EXPECT_NEAR(buffer->nextBlock, 48455, 10);
  EXPECT_NEAR(double(buffer->fileSize), 6.35e9, 0.01e9);
  EXPECT_EQ(level_of_root(buffer), 3u);
}

// Ten seconds of it, twenty of silence; what the delays make of speech has more of both, and shorter.
TEST_F(TenHours, OfSpeechTakeLess) {
  for (int pause = 0; pause < 1200; ++pause) {
    write(10 * kRate, true);
    write(20 * kRate, false);
  }
  expect_frames_anywhere();
  EXPECT_EQ(buffer->endFrame - buffer->startFrame, kHour) << "silence is cut to the frame";
  EXPECT_EQ(StoreChecker::problems_of(buffer), "");
  EXPECT_NEAR(buffer->nextBlock, 48455 / 3, 10);
}

}  // namespace
