// Two hundred moments of chance each.
#include "host/killed_m4a.h"

namespace auspool::testing {
namespace {

TEST_F(KilledM4a, PlainRecordingsAreWholeAgainAfterRecoveryAtAnyMoment) {
  for (unsigned seed = 100; seed < 300 && !HasFailure(); ++seed) expect_recovery(seed % 2 != 0 ? "alac" : "aac", seed);
}

TEST_F(KilledM4a, FragmentedRecordingsPlayToTheirLastWholeFragmentAtAnyMoment) {
  std::size_t frames = 0;
  for (unsigned seed = 100; seed < 300 && !HasFailure(); ++seed)
    frames += expect_whole_fragments(seed % 2 != 0 ? "alac" : "aac", seed);
  EXPECT_GT(frames, 0u);
}

}  // namespace
}  // namespace auspool::testing
