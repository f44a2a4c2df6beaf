#include <cmath>
#include <limits>
#include <vector>

#include "buffers/sampler_fixture.h"
#include "support/watch.h"

namespace auspool {
namespace {

using testing::Samples;

using SamplerSafety = testing::MonoSampler;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();

TEST_F(SamplerSafety, RatesThatMakeNoSenseLeaveItUsable) {
  const double bad[] = {0.0, -0.0, -44100.0, kNaN, kInfinity, -kInfinity, 1e-300, 1e300, 48000.0};
  for (double in : bad) {
    for (double out : bad) {
      restart(testing::noise(5000, 1));
      // Buffers as large as the counts say; those that no buffer can have are only asked for.
      if (needed(20, in, out) < 1000000) pull(20, in, out);
      if (given(20, in, out) < 1000000) push(20, in, out);
      EXPECT_TRUE(std::isfinite(sampler->fraction)) << in << " " << out;
    }
  }
}

TEST_F(SamplerSafety, CountsBeyond32BitsAreHeldAtTheMost) {
  EXPECT_EQ(needed(1000, 1e12, 1.0), kMost);
  EXPECT_EQ(given(1000, 1.0, 1e12), kMost);
  EXPECT_EQ(needed(kMost, 48000, 48000), kMost);
  EXPECT_EQ(needed(kMost, 48000, 24000), kMost);
  EXPECT_EQ(needed(kMost, 24000, 48000), 2147483648u);
  EXPECT_EQ(given(kMost, 48000, 24000), 2147483648u);
}

// A wild change of rates leaves a fraction of thousands of millions of frames. A count that walked down through them
// would hold up the audio thread for minutes, and this test beyond its time.
TEST_F(SamplerSafety, CountsAreFoundAtOnceWhateverTheFraction) {
  for (double fraction : {1e9, 4e9, 1e15}) {
    sampler->fraction = fraction;
    for (double in : {1.0, 48000.0, 1e-5}) {
      for (int i = 0; i < 1000; ++i) EXPECT_LE(needed(given(100, in, 48000.0 + i), in, 48000.0 + i), 100u);
    }
  }
}

TEST_F(SamplerSafety, WhatIsNotANumberIsForgottenAfterItsBlock) {
  for (float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    for (double rate_in : {24000.0, 44100.0, 48000.0, 96000.0}) {
      Samples signal = testing::noise(3000, 1);
      signal[50] = bad;
      restart(signal);
      pull(200, rate_in, 48000);
      for (float sample : pull(200, rate_in, 48000)) ASSERT_TRUE(std::isfinite(sample)) << rate_in;
    }
  }
}

TEST_F(SamplerSafety, RestoresTheModeForDenormals) {
  volatile float smallest = std::numeric_limits<float>::min();
  volatile float half = 0.5f;
  restart(Samples(1000, 1e-41f));
  for (float sample : pull(500, 24000, 48000)) ASSERT_EQ(sample, 0.0f) << "denormal numbers are flushed";
  EXPECT_GT(smallest * half, 0.0f);
}

TEST_F(SamplerSafety, AllMembersAreSafeOnARealTimeThread) {
  const auto stereo = ausampler_create(2);
  const Samples source(4000, 0.5f);
  Samples destination(4000);
  const float *const sources[] = {source.data(), source.data()};
  float *const destinations[] = {destination.data(), destination.data() + 2000};
  const ausampler_iovec from[] = {{const_cast<float *>(source.data()), 4}, {const_cast<float *>(source.data()), 8}};
  const ausampler_iovec to[] = {{destination.data(), 4}, {destination.data() + 2000, 4}};
  const auto use = [&] {
    for (double rate : {24000.0, 47000.0, 48000.0, 96000.0}) {
      ausampler_read_frames_in(stereo, 200, rate, 48000);
      ausampler_write_frames_out(stereo, 200, rate, 48000);
      ausampler_read_interleaved(stereo, source.data(), destination.data(), 200, rate, 48000);
      ausampler_write_interleaved(stereo, source.data(), destination.data(), 200, rate, 48000);
      ausampler_read_noninterleaved(stereo, sources, destinations, 200, rate, 48000);
      ausampler_write_noninterleaved(stereo, sources, destinations, 200, rate, 48000);
      ausampler_read_iovec(stereo, from, to, 200, rate, 48000);
      ausampler_write_iovec(stereo, from, to, 200, rate, 48000);
    }
    ausampler_reset(stereo);
  };
  {
    const testing::RealtimeGuard guard;
    use();
  }
  const bool possible = testing::run_without_system_calls(use);
  ausampler_destroy(stereo);
  if (!possible) GTEST_SKIP() << "system calls cannot be refused in this build";
}

TEST(SamplerCreation, FailsWithoutALeak) {
  const int failed = testing::fail_each_allocation([] {
    ausampler *made = ausampler_create(2);
    ausampler_destroy(made);
    return made != nullptr;
  });
  EXPECT_EQ(failed, 1);
}

TEST(SamplerCreation, MoreChannelsThanMemoryGiveNull) {
  const testing::CallFailer failer("operator new");
  EXPECT_EQ(ausampler_create(kMost), nullptr);
}

TEST(SamplerCreation, NoChannelsAreAllowed) {
  ausampler *none = ausampler_create(0);
  ASSERT_NE(none, nullptr);
  EXPECT_EQ(ausampler_read_interleaved(none, nullptr, nullptr, 100, 44100, 48000), 100u);
  ausampler_destroy(none);
}

TEST(SamplerCreation, DestroyAcceptsNull) {
  ausampler_destroy(nullptr);
}

}  // namespace
}  // namespace auspool
