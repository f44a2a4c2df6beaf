#include "resampler/parallel_tuning.h"

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
  EXPECT_EQ(run(tuning, 20, 1200, 1.0, 2.0), 0) << "a fifth more is no reason";
  EXPECT_GT(run(tuning, 40, 2000, 1.0, 2.0), 0);
}

TEST(ParallelTuning, MeasuresAgainWhenBlocksShrinkBesideParallelRunning) {
  ParallelTuning tuning(true);
  run(tuning, 20, 1000, 2.0, 1.0);
  EXPECT_EQ(run(tuning, 20, 900, 2.0, 1.0), 20);
  EXPECT_LT(run(tuning, 40, 500, 2.0, 1.0), 40);
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

TEST(ParallelTuning, ChangesItsMindAndChecksSooner) {
  ParallelTuning tuning(true);
  run(tuning, 20, 1000, 2.0, 1.0);
  EXPECT_EQ(run(tuning, 1000, 1000, 2.0, 1.0), 1000);
  const int in_parallel = run(tuning, 3000, 1000, 1.0, 2.0);
  EXPECT_GT(in_parallel, 0);
  EXPECT_LT(in_parallel, 1500);
  EXPECT_EQ(run(tuning, 10, 1000, 1.0, 2.0), 0);
}
