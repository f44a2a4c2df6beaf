// The store beside a plain model for a million steps on a file that works, and as many on one that does not.
#include <gtest/gtest.h>

#include "audiskdelay/BTAudioBuffer/model.h"

using namespace auspool::testing;

namespace {

TEST(BTAudioBufferModelLong, HoldsWhatItWasGiven) {
  EXPECT_GT(run_stores(100, 100, 10000, false, 64).reads, 100000u);
}

TEST(BTAudioBufferModelLong, NeverGivesAWrongSampleWhereWritesFail) {
  EXPECT_GT(run_stores(200, 100, 10000, true, 64).reads, 100000u);
}

}  // namespace
