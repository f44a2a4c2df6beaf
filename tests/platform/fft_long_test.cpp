#include "platform/fft_oracle.h"

namespace auspool {
namespace {

TEST(RealFft, LongOnesAgreeWithTheOracle) {
  for (int log2_size = 18; log2_size <= 22; ++log2_size) {
    testing::expect_like_oracle<float>(log2_size);
    testing::expect_like_oracle<double>(log2_size);
    testing::expect_convolves_like_oracle<double>(log2_size);
  }
}

}  // namespace
}  // namespace auspool
