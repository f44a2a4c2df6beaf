#include "auspool/auproc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include "support/signals.h"
#include "support/watch.h"

namespace auspool {
namespace {

using testing::Samples;

constexpr std::int32_t kFrames = 37;  // no multiple of a vector
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// Two channels and one sample beyond their end, which must stay as it is.
struct Stereo {
  static constexpr float kBeyond = 77.0f;
  Samples left, right;
  au_channel_pair pair;

  Stereo(Samples l, Samples r) : left(std::move(l)), right(std::move(r)) {
    left.push_back(kBeyond);
    right.push_back(kBeyond);
    pair = {left.data(), right.data()};
  }
  explicit Stereo(float value) : Stereo(Samples(kFrames, value), Samples(kFrames, -value)) {}
  Stereo(std::uint32_t seed, int) : Stereo(testing::noise(kFrames, seed), testing::noise(kFrames, seed + 100)) {}
  Stereo(const Stereo &other) : left(other.left), right(other.right), pair{left.data(), right.data()} {}
  Stereo &operator=(const Stereo &) = delete;

  bool operator==(const Stereo &other) const { return left == other.left && right == other.right; }
};

Stereo noise(std::uint32_t seed) {
  return Stereo(seed, 0);
}

// What `op` makes of each pair of samples.
template <typename Op>
Stereo mixed(const Stereo &source, const Stereo &target, const Op &op) {
  Stereo result = target;
  for (std::size_t i = 0; i < kFrames; ++i) {
    result.left[i] = op(source.left[i], target.left[i]);
    result.right[i] = op(source.right[i], target.right[i]);
  }
  return result;
}

TEST(Deinterleave, TakesTheFirstTwoOfEachFrame) {
  for (int channels : {2, 3, 6}) {
    Samples block;
    for (int i = 0; i < kFrames * channels; ++i) block.push_back(static_cast<float>(i));
    Stereo target(0.0f);
    auproc_deinterleave(&target.pair, block.data(), kFrames, channels);
    for (std::size_t i = 0; i < kFrames; ++i) {
      EXPECT_EQ(target.left[i], block[i * static_cast<std::size_t>(channels)]);
      EXPECT_EQ(target.right[i], block[i * static_cast<std::size_t>(channels) + 1]);
    }
    EXPECT_EQ(target.left.back(), Stereo::kBeyond);
    EXPECT_EQ(target.right.back(), Stereo::kBeyond);
  }
}

TEST(Deinterleave, OneChannelGoesIntoBoth) {
  Samples block = testing::noise(kFrames, 1);
  Stereo target(0.0f);
  auproc_deinterleave(&target.pair, block.data(), kFrames, 1);
  EXPECT_EQ(target, Stereo(block, block));
}

TEST(Interleave, WritesTheFirstTwoOfEachFrameAndNoMore) {
  const Stereo source = noise(1);
  for (std::size_t channels : {2u, 3u, 6u}) {
    Samples block(kFrames * channels, 9.0f);
    auproc_interleave(block.data(), &source.pair, kFrames, static_cast<std::int32_t>(channels));
    for (std::size_t i = 0; i < block.size(); ++i) {
      const std::size_t frame = i / channels, place = i % channels;
      EXPECT_EQ(block[i], place == 0 ? source.left[frame] : place == 1 ? source.right[frame] : 9.0f);
    }
  }
}

TEST(Interleave, OneChannelDropsTheRight) {
  const Stereo source = noise(1);
  Samples block(kFrames + 1, 9.0f);
  auproc_interleave(block.data(), &source.pair, kFrames, 1);
  EXPECT_TRUE(std::equal(block.begin(), block.end() - 1, source.left.begin()));
  EXPECT_EQ(block.back(), 9.0f);
}

TEST(Copy, CopiesBothChannels) {
  const Stereo source = noise(1);
  Stereo target = noise(2);
  auproc_copy_buffer(&source.pair, &target.pair, kFrames);
  EXPECT_EQ(target, source);
}

TEST(Zero, ClearsBothChannels) {
  Stereo target = noise(1);
  auproc_zero_buffer(&target.pair, kFrames);
  EXPECT_EQ(target, Stereo(0.0f));
}

TEST(ApplyGain, HasABandOfSilenceAndABandOfUnity) {
  const Stereo source = noise(1);
  struct {
    float gain, applied;
  } cases[] = {{0.0f, 0.0f},       {0.004f, 0.0f}, {0.005f, 0.0f},  // 0.005f lies just below 0.005
               {-1.0f, 0.0f},      {-0.5f, 0.0f},  {0.0051f, 0.0051f}, {0.5f, 0.5f},
               {0.9949f, 0.9949f}, {0.995f, 1.0f},                                      // 0.995f just above 0.995
               {0.996f, 1.0f},     {1.0f, 1.0f},   {1.004f, 1.0f},     {1.005f, 1.0f},  // and 1.005f just below 1.005
               {1.0051f, 1.0051f}, {3.0f, 3.0f}};
  for (const auto &c : cases) {
    Stereo target = noise(2);
    auproc_apply_gain(&source.pair, &target.pair, kFrames, c.gain);
    const Stereo expected =
        mixed(source, target, [&](float s, float) { return c.applied == 0.0f ? 0.0f : s * c.applied; });
    EXPECT_EQ(target, expected) << c.gain;
  }
}

TEST(ApplyGain, WorksInPlace) {
  Stereo both = noise(1);
  const Stereo expected = mixed(both, both, [](float s, float) { return s * 0.25f; });
  auproc_apply_gain(&both.pair, &both.pair, kFrames, 0.25f);
  EXPECT_EQ(both, expected);
}

TEST(ApplyGain, MultipliesByAGainThatIsNotANumber) {
  Stereo both = noise(1);
  auproc_apply_gain(&both.pair, &both.pair, kFrames, kNaN);
  EXPECT_TRUE(std::isnan(both.left[0]));
}

TEST(MixGain2, TestsItsShortcutsInOrder) {
  const Stereo source = noise(1), target = noise(2);
  struct {
    const char *name;
    float source_gain, target_gain;
    float (*expected)(float, float);
  } cases[] = {
      {"both silent", 0.004f, 0.004f, [](float, float) { return 0.0f; }},
      {"negative gains are silent", -1.0f, -1.0f, [](float, float) { return 0.0f; }},
      {"unity over silence", 0.996f, 0.004f, [](float s, float) { return s; }},
      {"unity over a negative gain", 1.0f, -1.0f, [](float s, float) { return s; }},
      {"both unity", 0.996f, 1.004f, [](float s, float t) { return t + s; }},
      {"unity source", 0.996f, 0.5f, [](float s, float t) { return t * 0.5f + s; }},
      {"unity target", 0.5f, 0.996f, [](float s, float t) { return t + s * 0.5f; }},
      {"silent source under a unity target", 0.004f, 0.996f, [](float s, float t) { return t + s * 0.004f; }},
      {"negative source subtracts", -1.0f, 1.0f, [](float s, float t) { return t - s; }},
      {"neither", 0.5f, 0.25f, [](float s, float t) { return s * 0.5f + t * 0.25f; }},
      {"silent source, other target", 0.004f, 0.5f, [](float s, float t) { return s * 0.004f + t * 0.5f; }},
      {"silent target, other source", 0.5f, 0.004f, [](float s, float t) { return s * 0.5f + t * 0.004f; }},
  };
  for (const auto &c : cases) {
    Stereo result = target;
    auproc_mix_gain2(&source.pair, &result.pair, kFrames, c.source_gain, c.target_gain);
    EXPECT_EQ(result, mixed(source, target, c.expected)) << c.name;
  }
}

// The generator is the process's own, so a test finds its state by what comes out.
class Noise : public ::testing::Test {
protected:
  static Samples run(float amount) {
    const Stereo source(0.0f);
    Stereo target(0.0f);
    auproc_apply_noise(&source.pair, &target.pair, kFrames, amount);
    EXPECT_EQ(target.left, target.right) << "mono noise";
    return {target.left.begin(), target.left.end() - 1};
  }
  static std::uint32_t next(std::uint32_t state) { return state * 1664525u + 1013904223u; }
  // The states that can have given a sample of amount 1, which shows about 24 of their 32 bits.
  static std::vector<std::uint32_t> states_behind(float sample) {
    const auto middle = static_cast<std::uint32_t>(std::ldexp(double{sample} + 1.0, 31));
    std::vector<std::uint32_t> states;
    for (std::uint32_t state = middle - 600; state != middle + 600; ++state) states.push_back(state);
    return states;
  }
  static float value(std::uint32_t state) { return static_cast<float>(state) * 4.656613e-10f - 1.0f; }
};

[[noreturn]] void exit_after_the_first_noise() {
  float left[2] = {}, right[2] = {};
  const au_channel_pair pair = {left, right};
  auproc_apply_noise(&pair, &pair, 2, 1.0f);
  std::uint32_t state = 0x89465214;
  for (float sample : left) {
    state = state * 1664525u + 1013904223u;
    if (sample != static_cast<float>(state) * 4.656613e-10f - 1.0f) std::exit(1);
  }
  std::exit(0);
}

TEST(NoiseDeathTest, BeginsWithItsSeedAndAdvancesBeforeUse) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process of its own
  EXPECT_EXIT(exit_after_the_first_noise(), ::testing::ExitedWithCode(0), "");
}

TEST_F(Noise, GoesOnFromRunToRun) {
  const Samples first = run(1.0f), second = run(1.0f);
  std::size_t matches = 0;
  for (std::uint32_t state : states_behind(first[0])) {
    std::size_t same = 0;
    for (const Samples *block : {&first, &second}) {
      for (float sample : *block) {
        same += sample == value(state);
        state = next(state);
      }
    }
    matches += same == 2 * kFrames;
  }
  EXPECT_EQ(matches, 1u);
}

TEST_F(Noise, StaysWithinItsAmountAroundTheSource) {
  const Stereo source = noise(1);
  Stereo target(0.0f);
  auproc_apply_noise(&source.pair, &target.pair, kFrames, 0.1f);
  float least = 1.0f, most = -1.0f;
  for (std::size_t i = 0; i < kFrames; ++i) {
    least = std::min(least, target.left[i] - source.left[i]);
    most = std::max(most, target.left[i] - source.left[i]);
    EXPECT_NEAR(target.left[i] - source.left[i], target.right[i] - source.right[i], 1e-6);
  }
  EXPECT_GE(least, -0.1001f);
  EXPECT_LE(most, 0.1001f);
  EXPECT_LT(least, 0.0f);
  EXPECT_GT(most, 0.0f);
}

TEST_F(Noise, ASmallAmountCopiesAndLeavesTheGenerator) {
  const Stereo source = noise(1);
  for (float amount : {0.01f, 0.0f, -1.0f}) {  // 0.01f lies just below 0.01
    const float last = run(1.0f).back();
    Stereo target(0.0f);
    auproc_apply_noise(&source.pair, &target.pair, kFrames, amount);
    EXPECT_EQ(target, source) << amount;
    const float after = run(1.0f).front();
    bool follows = false;
    for (std::uint32_t state : states_behind(last)) follows = follows || value(next(state)) == after;
    EXPECT_TRUE(follows) << amount;
  }
}

TEST(XfadeGains, AreThoseOfEqualPower) {
  struct {
    float position, first, second;
  } cases[] = {{0.0f, 0.0f, 1.0f},         {1.0f, 1.0f, 0.0f},         {0.5f, 0.70710678f, 0.70710678f},
               {0.001f, 0.0f, 0.9999988f}, {0.999f, 0.9999988f, 0.0f}, {0.25f, 0.38268343f, 0.92387953f},
               {-0.5f, 0.0f, 0.70710678f}, {1.5f, 0.70710678f, 0.0f},  {2.5f, 0.0f, 0.0f}};
  for (const auto &c : cases) {
    float first = 9.0f, second = 9.0f;
    auproc_gains_for_xfade(&first, &second, c.position);
    EXPECT_FLOAT_EQ(first, c.first) << c.position;
    EXPECT_FLOAT_EQ(second, c.second) << c.position;
  }
}

TEST(XfadeGains, JustBesideTheEndsTheyAreComputed) {
  float first = 9.0f, second = 9.0f;
  auproc_gains_for_xfade(&first, &second, std::nextafter(1.0f, 0.0f));
  EXPECT_EQ(second, 0.0f);
  EXPECT_FLOAT_EQ(first, 1.0f);
}

TEST(BlockOperations, ShiftedBuffersAreTakenForward) {
  Samples left = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, right = left;
  const au_channel_pair source = {left.data(), right.data()};
  const au_channel_pair up = {left.data() + 1, right.data() + 1};
  const auto fill = [&](float value) {
    std::fill(left.begin(), left.end(), value);
    std::fill(right.begin(), right.end(), value);
  };
  auproc_copy_buffer(&source, &up, 9);
  EXPECT_EQ(left, Samples(10, 1.0f)) << "each copied sample is the source of the next";

  left = right = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
  auproc_copy_buffer(&up, &source, 9);
  EXPECT_EQ(right, (Samples{2, 3, 4, 5, 6, 7, 8, 9, 10, 10}));

  fill(1.0f);
  auproc_apply_gain(&source, &up, 9, 2.0f);
  EXPECT_EQ(left.back(), 512.0f);

  fill(1.0f);
  auproc_mix_gain2(&source, &up, 9, 1.0f, 1.0f);
  EXPECT_EQ(right.back(), 10.0f);
}

// Every operation, on whatever it is given.
void run_all(const au_channel_pair *source, const au_channel_pair *target, float *block, std::int32_t frames) {
  auproc_deinterleave(target, block, frames, 2);
  auproc_deinterleave(target, block, frames, 1);
  auproc_interleave(block, source, frames, 2);
  auproc_interleave(block, source, frames, 1);
  auproc_copy_buffer(source, target, frames);
  auproc_zero_buffer(target, frames);
  for (float gain : {0.0f, 0.5f, 1.0f}) {
    auproc_apply_gain(source, target, frames, gain);
    for (float other : {0.0f, 0.5f, 1.0f}) auproc_mix_gain2(source, target, frames, gain, other);
  }
  auproc_apply_noise(source, target, frames, 0.0f);
}

TEST(BlockOperations, NullPointersMeanThatNothingHappens) {
  Stereo buffer = noise(1);
  const Stereo before = buffer;
  Samples block(2 * kFrames, 9.0f);
  const au_channel_pair bad[] = {{nullptr, nullptr}, {buffer.left.data(), nullptr}, {nullptr, buffer.right.data()}};
  for (const au_channel_pair &pair : bad) {
    run_all(&pair, &pair, block.data(), kFrames);
    auproc_copy_buffer(&buffer.pair, &pair, kFrames);
    auproc_copy_buffer(&pair, &buffer.pair, kFrames);
    auproc_apply_noise(&buffer.pair, &pair, kFrames, 0.01f);
    auproc_apply_gain(&pair, &buffer.pair, kFrames, 0.0f);
  }
  run_all(nullptr, nullptr, block.data(), kFrames);
  run_all(nullptr, nullptr, nullptr, kFrames);
  auproc_deinterleave(&buffer.pair, nullptr, kFrames, 2);
  auproc_interleave(nullptr, &buffer.pair, kFrames, 2);
  auproc_apply_noise(nullptr, &buffer.pair, kFrames, 1.0f);
  auproc_apply_noise(&buffer.pair, nullptr, kFrames, 1.0f);
  float gain = 9.0f;
  auproc_gains_for_xfade(&gain, nullptr, 0.0f);
  auproc_gains_for_xfade(nullptr, &gain, 0.0f);
  EXPECT_EQ(gain, 9.0f);
  EXPECT_EQ(buffer, before);
  EXPECT_EQ(block, Samples(2 * kFrames, 9.0f));
}

TEST(BlockOperations, CountsBelowOneMeanThatNothingHappens) {
  Stereo source = noise(1), target = noise(2);
  const Stereo before = target;
  Samples block(2 * kFrames, 9.0f);
  for (std::int32_t frames : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
    run_all(&source.pair, &target.pair, block.data(), frames);
    auproc_apply_noise(&source.pair, &target.pair, frames, 1.0f);
  }
  for (std::int32_t channels : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
    auproc_deinterleave(&target.pair, block.data(), kFrames, channels);
    auproc_interleave(block.data(), &source.pair, kFrames, channels);
  }
  EXPECT_EQ(target, before);
  EXPECT_EQ(block, Samples(2 * kFrames, 9.0f));
}

TEST(BlockOperations, AreSafeOnARealTimeThread) {
  Stereo source = noise(1), target = noise(2);
  Samples block(2 * kFrames);
  const auto use = [&] {
    run_all(&source.pair, &target.pair, block.data(), kFrames);
    auproc_apply_noise(&source.pair, &target.pair, kFrames, 1.0f);
    float first, second;
    auproc_gains_for_xfade(&first, &second, 0.3f);
  };
  {
    const testing::RealtimeGuard guard;
    use();
  }
  if (!testing::run_without_system_calls(use)) GTEST_SKIP() << "system calls cannot be refused in this build";
}

}  // namespace
}  // namespace auspool
