#include <gtest/gtest.h>

#include "support/flac_rewrites.h"
#include "support/other_programs.h"

namespace auspool::testing {
namespace {

TEST(FlacRewritesLong, AThousandKeepTheSound) {
#ifndef AUSPOOL_FLAC
  GTEST_SKIP() << "this build has no libFLAC";
#endif
  NEED_PROGRAM("flac");
  rewrite_flac_at_random(1000, 7);
}

}  // namespace
}  // namespace auspool::testing
