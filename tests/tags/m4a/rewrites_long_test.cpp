// A thousand random files, each rewritten three times over.
#include "tags/m4a/random_rewrites.h"

namespace auspool::testing {
namespace {

TEST(M4aRewritesLong, OfAThousandRandomFilesKeepEveryPacket) {
  RandomRewrites random(11);
  for (int i = 0; i < 1000 && !HasFailure(); ++i) {
    SCOPED_TRACE(i);
    random.run();
  }
}

}  // namespace
}  // namespace auspool::testing
