// The store beside a plain model, at random, on a file that works and on one that does not.
#include <gtest/gtest.h>

#include "audiskdelay/BTAudioBuffer/model.h"

using namespace auspool::testing;

namespace {

TEST(BTAudioBufferModel, HoldsWhatItWasGiven) {
  const Counts counts = run_stores(0, 10, 1000, false, 8);
  EXPECT_GT(counts.reads, 1000u);
}

TEST(BTAudioBufferModel, NeverGivesAWrongSampleWhereWritesFail) {
  const Counts counts = run_stores(20, 20, 700, true, 8);
  EXPECT_GT(counts.failed_reads, 0u);
  EXPECT_LT(counts.failed_reads, counts.reads / 10);
}

}  // namespace
