#include "platform/noise.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "platform/vector_targets.h"
#include "support/signals.h"

namespace auspool {
namespace {

std::uint32_t next(std::uint32_t x) {
  x ^= x << 13;
  x ^= x >> 17;
  x ^= x << 5;
  return x;
}

template <typename Test>
void on_every_target(const Test &test) {
  for (const vector::Target &target : vector::targets()) {
    const vector::OnlyTarget only(target);
    SCOPED_TRACE(target.name);
    test();
  }
}

TEST(Noise, IsTheSequenceOfItsGeneratorAtEveryLength) {
  on_every_target([] {
    std::uint32_t rectangular = 0xDEADBEEF, rectangular_model = rectangular;
    std::uint32_t triangular = 0xDEADBEEF, triangular_model = triangular;
    for (std::size_t count = 0; count <= kNoiseTile; ++count) {
      std::vector<std::int32_t> values(count);
      rectangular_noise(rectangular, values.data(), count);
      for (const std::int32_t value : values) {
        rectangular_model = next(rectangular_model);
        ASSERT_EQ(value, static_cast<std::int32_t>(rectangular_model & 0x7FFFFFFF));
      }
      ASSERT_EQ(rectangular, rectangular_model) << count;
      triangular_noise(triangular, values.data(), count);
      for (const std::int32_t value : values) {
        const auto a = static_cast<std::int32_t>(next(triangular_model) & 0x7FFFFFFF);
        triangular_model = next(next(triangular_model));
        ASSERT_EQ(value, a - static_cast<std::int32_t>(triangular_model & 0x7FFFFFFF));
      }
      ASSERT_EQ(triangular, triangular_model) << count;
    }
  });
}

TEST(Noise, LaterIsWhatAsManyStepsGive) {
  std::uint32_t state = 0xDEADBEEF;
  for (std::uint64_t steps = 0; steps < 5000; ++steps) {
    ASSERT_EQ(later_noise(0xDEADBEEF, steps), state) << steps;
    state = next(state);
  }
  EXPECT_EQ(later_noise(later_noise(77, 123456789012), 987654321098), later_noise(77, 1111111110110));
}

// A step permutes the states, so a state comes back after the order of the step or a divisor of it; if after none of
// the largest divisors, then only after all of the 2^32 - 1 states that are not 0. That is odd, so pairs of steps, of
// which triangular noise is made, repeat no sooner: after 12 hours of stereo at 48000 frames a second.
TEST(Noise, RepeatsOnlyAfterEveryStateThereIs) {
  constexpr std::uint64_t kPeriod = 0xFFFFFFFF;
  EXPECT_EQ(later_noise(0xDEADBEEF, kPeriod), 0xDEADBEEF);
  for (const std::uint64_t prime : {3u, 5u, 17u, 257u, 65537u}) {  // their product is the period
    EXPECT_NE(later_noise(0xDEADBEEF, kPeriod / prime), 0xDEADBEEF) << prime;
  }
}

template <typename Real>
void expect_added_and_scaled() {
  for (const std::size_t count : {0u, 1u, 3u, 7u, 8u, 15u, 17u, 200u}) {
    const auto noise = testing::noise(count, 1, 1.0);
    std::vector<std::int32_t> steps(count);
    for (std::size_t i = 0; i < count; ++i)
      steps[i] = static_cast<std::int32_t>(static_cast<double>(noise[i]) * 2147483647.0);
    const auto input = testing::noise(count, 2, 1.0);
    std::vector<Real> samples(input.begin(), input.end()), scaled(count);
    constexpr double kAmplitude = 1.0 / 32768 / 2147483647.0;
    add_noise(steps.data(), -0.5, kAmplitude, samples.data(), count);
    scale_noise(steps.data(), kAmplitude, scaled.data(), count);
    for (std::size_t i = 0; i < count; ++i) {
      ASSERT_EQ(samples[i],
                static_cast<Real>(static_cast<double>(static_cast<Real>(input[i])) + (steps[i] - 0.5) * kAmplitude));
      ASSERT_EQ(scaled[i], static_cast<Real>(steps[i] * kAmplitude));
    }
  }
}

TEST(Noise, IsScaledAndAddedInDouble) {
  on_every_target([] {
    expect_added_and_scaled<float>();
    expect_added_and_scaled<double>();
  });
}

}  // namespace
}  // namespace auspool
