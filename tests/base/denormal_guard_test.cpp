#include "base/denormal_guard.h"

#include <gtest/gtest.h>

#include <limits>

namespace auspool {
namespace {

// The compiler must not compute these itself: it knows nothing of the mode.
volatile float smallest_normal = std::numeric_limits<float>::min();
volatile float half = 0.5f;

float denormal_result() {
  return smallest_normal * half;
}

#if defined(__SSE__) || defined(__aarch64__)
TEST(DenormalGuard, FlushesToZeroInsideItsScopeAndOnlyThere) {
  EXPECT_GT(denormal_result(), 0.0f);
  {
    const DenormalGuard guard;
    EXPECT_EQ(denormal_result(), 0.0f);
  }
  EXPECT_GT(denormal_result(), 0.0f);
}

TEST(DenormalGuard, TakesDenormalInputsForZero) {
  volatile float denormal = std::numeric_limits<float>::denorm_min();
  volatile float large = 1e30f;
  EXPECT_GT(denormal * large, 0.0f);
  const DenormalGuard guard;
  EXPECT_EQ(denormal * large, 0.0f);
}

TEST(DenormalGuard, LeavesAModeThatWasAlreadySet) {
  const DenormalGuard outer;
  { const DenormalGuard inner; }
  EXPECT_EQ(denormal_result(), 0.0f);
}
#endif

}  // namespace
}  // namespace auspool
