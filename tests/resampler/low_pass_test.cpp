#include "auspool/filter_design.h"

#include <gtest/gtest.h>

namespace auspool {
namespace {

TEST(KaiserEstimate, SixtyDecibels) {
  double beta = 0;
  double cutoff = 0;
  EXPECT_EQ(kaiser_estimate(&beta, &cutoff, 0.425, 0.5, 0.001, 0.001), 98U);
  EXPECT_NEAR(beta, 5.65326, 1e-12);
  EXPECT_NEAR(cutoff, 0.4625, 1e-15);
}

}  // namespace
}  // namespace auspool
