// The store beside a plain model, at random, on a file that works and on one that does not.
#include <gtest/gtest.h>

#include "audiskdelay/BTAudioBuffer/consume.h"
#include "audiskdelay/BTAudioBuffer/model.h"

using namespace auspool::testing;

namespace {

TEST(BTAudioBufferModel, HoldsWhatItWasGiven) {
  for (std::uint32_t seed = 0; seed < 8; ++seed) {
    SideBySide both({.maxFrames = 20 * kFramesPerBlock, .blocksPerFile = 60, .cacheBlocks = 8 + 3 * seed}, {}, seed);
    for (int i = 0; i < 1500 && !HasFailure(); ++i) both.step(i % 8 == 0);
    ASSERT_FALSE(HasFailure()) << "seed " << seed;
  }
}

TEST(BTAudioBufferModel, NeverGivesAWrongSampleWhereWritesFail) {
  std::uint64_t failed_writes = 0, failed_reads = 0, reads = 0;
  for (std::uint32_t seed = 0; seed < 16; ++seed) {
    SideBySide both(
        {.maxFrames = 100 * kFramesPerBlock, .blocksPerFile = 60, .cacheBlocks = 8 + seed},
        {.fails = seed % 4 / 3.0, .cut_short = seed / 4 / 3.0, .disk_bytes = seed % 3 ? UINT64_MAX : 30u << 17}, seed);
    for (int i = 0; i < 1000 && !HasFailure(); ++i) both.step(i % 8 == 0);
    ASSERT_FALSE(HasFailure()) << "seed " << seed;
    failed_writes += both.failed_writes();
    failed_reads += both.failed_reads();
    reads += both.reads();
  }
  EXPECT_GT(failed_writes, 0u);
  EXPECT_GT(failed_reads, 0u);
  EXPECT_LT(failed_reads, reads / 10);
}

}  // namespace
