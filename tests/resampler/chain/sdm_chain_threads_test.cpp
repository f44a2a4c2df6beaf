#include <gtest/gtest.h>

#include "support/host_stream.h"

using namespace auspool::testing;

// The channels of a block transform on threads of their own share its matrix, and have a transform's work each.
TEST(SdmChain, IsTheSameWithAThreadForEachChannel) {
  constexpr std::int32_t kQuality = RaesamplerQualityVeryHigh, kFlags = kQuality | RAESAMPLER_FLAG_SDM;
  std::vector<std::vector<double>> expected;
  for (const std::int32_t threads : {1, 3}) {
    HostStream<double> host(3, 1500000);
    host.most = 100000;
    ASSERT_EQ(host.convert(nullptr, 2822400, 44100, kFlags, threads), 0);
    if (expected.empty()) expected = host.out;
    EXPECT_EQ(host.out, expected) << threads;
  }
}
