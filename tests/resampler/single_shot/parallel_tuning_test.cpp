#include "resampler/single_shot/parallel_tuning.h"

#include <gtest/gtest.h>

using auspool::ParallelTuning;

namespace {

// Runs blocks of `samples` whose times are given for either way; returns how many of them ran in parallel.
int run(ParallelTuning &tuning, int blocks, std::int32_t samples, double sequential, double parallel,
        std::int32_t outputs = 1) {
  int in_parallel = 0;
  for (int i = 0; i < blocks; ++i) {
    const bool chosen = tuning.begin_block(samples);
    in_parallel += chosen;
    tuning.end_block(outputs, chosen ? parallel : sequential);
  }
  return in_parallel;
}

}  // namespace

TEST(ParallelTuning, WithNothingToRunSideBySideAllIsSequential) {
  ParallelTuning tuning(false);
  EXPECT_EQ(run(tuning, 100, 100000, 2.0, 1.0), 0);
}

TEST(ParallelTuning, MeasuresTenBlocksEachWayAndTakesTheFaster) {
  ParallelTuning gains(true);
  EXPECT_EQ(run(gains, 10, 1000, 2.0, 1.0), 0);
  EXPECT_EQ(run(gains, 10, 1000, 2.0, 1.0), 10);
  EXPECT_EQ(run(gains, 50, 1000, 2.0, 1.0), 50);
  ParallelTuning loses(true);
  EXPECT_EQ(run(loses, 20, 1000, 1.0, 2.0), 10);
  EXPECT_EQ(run(loses, 50, 1000, 1.0, 2.0), 0);
  ParallelTuning equal(true);
  EXPECT_EQ(run(equal, 20, 1000, 1.0, 1.0), 10);
  EXPECT_EQ(run(equal, 50, 1000, 1.0, 1.0), 0) << "threads must earn their keep";
}

// Times are compared a sample, since blocks differ.
TEST(ParallelTuning, ComparesTimesPerSample) {
  ParallelTuning tuning(true);
  run(tuning, 10, 1000, 10.0, 0.0);
  run(tuning, 10, 3000, 0.0, 29.0);
  EXPECT_EQ(run(tuning, 5, 1000, 10.0, 9.0), 5);
}

// A stage that holds its input gives no output: such a block is timed with the next, and counts for no round.
TEST(ParallelTuning, BlocksWithoutOutputCountForNoRound) {
  ParallelTuning tuning(true);
  EXPECT_EQ(run(tuning, 30, 1000, 1.0, 1.0, 0), 0);
  EXPECT_EQ(run(tuning, 10, 1000, 1.0, 1.0), 0);
  EXPECT_EQ(run(tuning, 1, 1000, 1.0, 1.0), 1);
}

TEST(ParallelTuning, MeasuresAgainWhenBlocksGrowBesideSequentialRunning) {
  ParallelTuning tuning(true);
  run(tuning, 20, 1000, 1.0, 2.0);
  // The mean divides by one block less: 1124 counts as 1249, and 1126 as 1251, beside the measured 1000.
  EXPECT_EQ(run(tuning, 40, 1124, 1.0, 2.0), 0);
  EXPECT_EQ(run(tuning, 40, 1126, 1.0, 2.0), 10);
}

TEST(ParallelTuning, MeasuresAgainWhenBlocksShrinkBesideParallelRunning) {
  ParallelTuning tuning(true);
  run(tuning, 20, 1000, 2.0, 1.0);
  EXPECT_EQ(run(tuning, 40, 676, 2.0, 1.0), 40);
  EXPECT_EQ(run(tuning, 40, 674, 2.0, 1.0), 30);
}

TEST(ParallelTuning, LargeBlocksAlwaysRunInParallel) {
  ParallelTuning tuning(true);
  run(tuning, 20, 100000, 1.0, 2.0);
  EXPECT_EQ(run(tuning, 50, 100000, 1.0, 2.0), 50) << "whatever the clock says";
}

// The mean is over one block less than were summed: ten blocks of 59000 pass for 65555 each.
TEST(ParallelTuning, TheMeanDividesByOneBlockLess) {
  ParallelTuning tuning(true);
  run(tuning, 20, 59000, 1.0, 2.0);
  EXPECT_EQ(run(tuning, 1, 59000, 1.0, 2.0), 1);
  ParallelTuning below(true);
  run(below, 20, 58900, 1.0, 2.0);
  EXPECT_EQ(run(below, 1, 58900, 1.0, 2.0), 0);
}

// From time to time it measures again; ever less often while the answer stays.
TEST(ParallelTuning, ChecksLessOftenWhileTheAnswerStays) {
  ParallelTuning tuning(true);
  run(tuning, 20, 1000, 1.0, 2.0);  // the answer is that of before: 0x200000 samples to the next check
  const auto blocks_to_the_next_check = [&](double parallel) {
    int blocks = 0;
    while (run(tuning, 1, 1000, 1.0, parallel) == 0) ++blocks;
    run(tuning, 9, 1000, 1.0, parallel);
    return blocks;
  };
  const int first = blocks_to_the_next_check(2.0);
  EXPECT_NEAR(first, 0x200000 / 1000 - 20 + 10, 2);
  const int second = blocks_to_the_next_check(2.0);
  EXPECT_NEAR(second, 0x400000 / 1000 - 10, 12);
}

// The blocks of 1000 samples up to the next measurement, and through it; `parallel` is what they take side by side.
int blocks_to_the_next_check(ParallelTuning &tuning, double sequential, double parallel, bool in_parallel) {
  int blocks = 0;
  while (run(tuning, 1, 1000, sequential, parallel) == (in_parallel ? 1 : 0)) ++blocks;
  run(tuning, in_parallel ? 19 : 9, 1000, sequential, parallel);
  return blocks;
}

TEST(ParallelTuning, ChangesItsMindAndChecksSooner) {
  ParallelTuning tuning(true);
  run(tuning, 20, 1000, 1.0, 2.0);  // 0x200000 samples to the next check, then 0x400000
  blocks_to_the_next_check(tuning, 1.0, 2.0, false);
  const int long_wait = blocks_to_the_next_check(tuning, 2.0, 1.0, false);  // now threads pay
  EXPECT_NEAR(long_wait, 0x400000 / 1000, 12);
  EXPECT_EQ(run(tuning, 5, 1000, 2.0, 1.0), 5);
  EXPECT_NEAR(blocks_to_the_next_check(tuning, 2.0, 1.0, true), 0x200000 / 1000 - 5, 22) << "half of the wait before";
}

TEST(ParallelTuning, WaitsNeverLongerThanAGibiOfSamples) {
  ParallelTuning tuning(true);
  constexpr std::int32_t kSamples = 50000;
  for (int check = 0; check < 14; ++check) {
    int blocks = 0;
    while (run(tuning, 1, kSamples, 1.0, 2.0) == 0) ++blocks;
    run(tuning, 9, kSamples, 1.0, 2.0);
    EXPECT_LE(blocks, 0x40000000 / kSamples + 12);
    if (check > 11) {
      EXPECT_NEAR(blocks, 0x40000000 / kSamples, 12);
    }
  }
}
