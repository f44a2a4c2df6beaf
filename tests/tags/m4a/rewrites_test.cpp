#include "tags/m4a/random_rewrites.h"

namespace auspool::testing {
namespace {

TEST(M4aRewrites, OfRandomFilesKeepEveryPacket) {
  RandomRewrites random(7);
  for (int i = 0; i < 40 && !HasFailure(); ++i) random.run();
}

}  // namespace
}  // namespace auspool::testing
