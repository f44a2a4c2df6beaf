#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <numeric>

#include "auspool/bitbox.h"
#include "bitbox/dither.h"
#include "bitbox/shaper_model.h"
#include "support/signals.h"
#include "support/watch.h"

namespace auspool {
namespace {

using testing::NoiseModel;
using testing::ShaperModel;

struct Destroy {
  void operator()(bitbox_dither *dither) const { bitbox_dither_destroy(dither); }
};
using Dither = std::unique_ptr<bitbox_dither, Destroy>;

Dither make(std::int32_t bits, std::uint32_t type, std::int32_t channels = 1, float rate = 44100) {
  return Dither(bitbox_dither_create(bits, channels, type, nullptr, rate));
}

Dither custom(std::int32_t bits, const std::vector<float> &taps, std::int32_t channels = 1) {
  const bitbox_custom_filter filter = {0, static_cast<std::uint32_t>(taps.size()), taps.data()};
  return Dither(bitbox_dither_create(bits, channels, BITBOX_DITHER_CUSTOM, &filter, 44100));
}

std::vector<double> doubles(std::size_t count, std::uint32_t seed, double amplitude = 0.5) {
  const auto noise = testing::noise(count, seed, amplitude);
  return {noise.begin(), noise.end()};
}

template <typename Real>
std::vector<Real> dithered(const Dither &dither, std::vector<Real> samples, std::int32_t channel = 0) {
  bitbox_dither_ip(dither.get(), channel, sizeof(Real) == 8, samples.data(), 1,
                   static_cast<std::int32_t>(samples.size()));
  return samples;
}

const std::vector<std::uint32_t> kTypes = {BITBOX_DITHER_RPDF,  BITBOX_DITHER_TPDF,       BITBOX_DITHER_SIMPLE,
                                           BITBOX_DITHER_POLES, BITBOX_DITHER_F_WEIGHTED, BITBOX_DITHER_FLAT_HIGH};

TEST(DitherObject, TellsTheCodesOfItsWordLength) {
  const Dither d16 = make(16, BITBOX_DITHER_SIMPLE, 3);
  EXPECT_EQ(d16->step, 1.0 / 32768);
  EXPECT_EQ(d16->highest_code, 32767);
  EXPECT_EQ(d16->lowest_code, -32768);
  EXPECT_EQ(d16->scale, 32768);
  EXPECT_EQ(d16->amplitude, 1.0 / 32768 / 2147483647.0);
  EXPECT_EQ(d16->noise, 0xDEADBEEFu);
  EXPECT_EQ(d16->order, 2);
  EXPECT_EQ(d16->channels, 3);
  EXPECT_EQ(d16->poles, nullptr);
  EXPECT_EQ(make(24, BITBOX_DITHER_TPDF)->highest_code, 8388607);
  EXPECT_EQ(make(24, BITBOX_DITHER_TPDF)->order, 0);
  const Dither d32 = make(32, BITBOX_DITHER_TPDF);
  EXPECT_EQ(d32->step, 1.0 / 2147483648.0);
  EXPECT_EQ(d32->highest_code, 2147483647.0);
  EXPECT_EQ(d32->lowest_code, -2147483648.0);
}

TEST(DitherObject, IsNotMadeOfWhatWillNotDo) {
  const float tap = 0.5f;
  const bitbox_custom_filter bad_kind = {1, 1, &tap};
  const bitbox_custom_filter no_taps = {0, 0, &tap};
  const bitbox_custom_filter null_taps = {0, 1, nullptr};
  for (const bitbox_custom_filter *filter : {&bad_kind, &no_taps, &null_taps, (const bitbox_custom_filter *)nullptr}) {
    EXPECT_EQ(bitbox_dither_create(16, 1, BITBOX_DITHER_CUSTOM, filter, 44100), nullptr);
  }
  EXPECT_EQ(make(16, 0x6E6F6E65), nullptr);
  EXPECT_EQ(make(16, 0), nullptr);
  EXPECT_EQ(make(16, BITBOX_DITHER_TPDF, -1), nullptr);
  bitbox_dither_destroy(nullptr);
}

TEST(DitherObject, ShapesNoRateBelow44100) {
  for (const std::uint32_t type : kTypes) {
    const bool shaped = type != BITBOX_DITHER_RPDF && type != BITBOX_DITHER_TPDF;
    for (float rate : {8000.0f, 32000.0f, 44099.9f, -1.0f, std::nanf("")}) {
      EXPECT_EQ(make(16, type, 1, rate) == nullptr, shaped) << type << " at " << rate;
    }
    EXPECT_NE(make(16, type, 1, 44100), nullptr);
  }
  const std::vector<float> taps = {0.5f};
  const bitbox_custom_filter filter = {0, 1, taps.data()};
  EXPECT_NE(Dither(bitbox_dither_create(16, 1, BITBOX_DITHER_CUSTOM, &filter, 8000)), nullptr);
}

TEST(DitherObject, LeavesNothingBehindWhenMemoryFails) {
  const float taps[] = {1, -0.5f, 0.25f};
  const bitbox_custom_filter filter = {0, 3, taps};
  for (const std::uint32_t type :
       {BITBOX_DITHER_TPDF, BITBOX_DITHER_POLES, BITBOX_DITHER_CUSTOM, BITBOX_DITHER_F_WEIGHTED}) {
    const int failed = testing::fail_each_allocation([&] {
      bitbox_dither *dither = bitbox_dither_create(16, 2, type, &filter, 50000);
      bitbox_dither_destroy(dither);
      return dither != nullptr;
    });
    EXPECT_GE(failed, 1);
  }
}

TEST(DitherObject, CopiesTheTapsOfTheHost) {
  std::vector<float> taps = {0.5f, -0.25f};
  const Dither dither = custom(16, taps);
  taps = {9, 9};
  EXPECT_EQ(dither->zeros[0], 0.5f);
  EXPECT_EQ(dither->zeros[1], -0.25f);
}

TEST(Rpdf, AddsFromZeroToOneCode) {
  const auto noise = dithered(make(16, BITBOX_DITHER_RPDF), std::vector<double>(200000));
  const double step = 1.0 / 32768;
  const auto [low, high] = std::minmax_element(noise.begin(), noise.end());
  EXPECT_GE(*low, -step * 1e-9);
  EXPECT_LE(*high, step);
  const double mean = std::accumulate(noise.begin(), noise.end(), 0.0) / 200000;
  EXPECT_NEAR(mean, step / 2, step * 0.003);  // four deviations of the mean
}

TEST(Tpdf, IsTriangularAboutZero) {
  const auto noise = dithered(make(16, BITBOX_DITHER_TPDF), std::vector<double>(400000));
  const double step = 1.0 / 32768;
  double mean = 0, square = 0, fourth = 0;
  for (const double x : noise) {
    ASSERT_LE(std::abs(x), step);
    mean += x / step / 400000;
    square += x / step * x / step / 400000;
    fourth += std::pow(x / step, 4) / 400000;
  }
  EXPECT_NEAR(mean, 0, 0.003);
  EXPECT_NEAR(square, 1.0 / 6, 0.002);
  EXPECT_NEAR(fourth, 1.0 / 15, 0.002);
}

TEST(Noise, IsTheGeneratorsSequenceInItsOrder) {
  for (const std::size_t count : {1u, 7u, 255u, 256u, 257u, 1000u, 3000u}) {
    const Dither rectangular = make(24, BITBOX_DITHER_RPDF);
    const Dither triangular = make(24, BITBOX_DITHER_TPDF);
    NoiseModel rectangular_model, triangular_model;
    const auto input = doubles(count, 5);
    for (int call = 0; call < 3; ++call) {
      const auto r = dithered(rectangular, input);
      const auto t = dithered(triangular, input);
      for (std::size_t i = 0; i < count; ++i) {
        ASSERT_EQ(r[i], input[i] + rectangular_model.rectangular() * rectangular->amplitude);
        ASSERT_EQ(t[i], input[i] + triangular_model.triangular() * triangular->amplitude);
      }
    }
    EXPECT_EQ(triangular->noise, triangular_model.x);
    EXPECT_EQ(rectangular->noise, rectangular_model.x);
  }
}

TEST(Noise, IsAddedInDoubleAndNarrowed) {
  const Dither dither = make(16, BITBOX_DITHER_TPDF);
  NoiseModel model;
  const auto input = testing::noise(1000, 3);
  const auto output = dithered(dither, input);
  for (std::size_t i = 0; i < input.size(); ++i) {
    const double exact = static_cast<double>(input[i]) + model.triangular() * dither->amplitude;
    ASSERT_EQ(output[i], static_cast<float>(exact));
  }
}

TEST(Noise, IsOneSequenceForAllChannels) {
  const Dither together = make(16, BITBOX_DITHER_TPDF, 2);
  const Dither one = make(16, BITBOX_DITHER_TPDF, 1);
  const std::vector<double> silence(300);
  const auto left = dithered(together, silence, 0);
  const auto right = dithered(together, silence, 1);
  const auto both = dithered(one, std::vector<double>(600));
  EXPECT_TRUE(std::equal(left.begin(), left.end(), both.begin()));
  EXPECT_TRUE(std::equal(right.begin(), right.end(), both.begin() + 300));
}

TEST(Dither, OfEqualObjectsIsEqual) {
  for (const std::uint32_t type : kTypes) {
    EXPECT_EQ(dithered(make(16, type), doubles(500, 1)), dithered(make(16, type), doubles(500, 1)));
  }
}

TEST(Dither, GoesOnWithItsNoiseAfterAReset) {
  for (const std::uint32_t type : kTypes) {
    const Dither dither = make(16, type);
    const auto first = dithered(dither, doubles(500, 1));
    const std::uint32_t noise = dither->noise;
    bitbox_dither_reset(dither.get());
    EXPECT_EQ(dither->noise, noise);
    EXPECT_NE(dithered(dither, doubles(500, 1)), first) << type;
  }
}

TEST(Dither, ForgetsItsErrorsAtAReset) {
  const Dither dither = custom(16, {1.5f, -0.7f, 0.2f}, 2);
  dithered(dither, doubles(100, 1), 0);
  dithered(dither, doubles(100, 2), 1);
  const auto *state = dither->state.get();
  EXPECT_TRUE(std::any_of(state, state + 8, [](float s) { return s != 0; }));
  bitbox_dither_reset(dither.get());
  EXPECT_TRUE(std::all_of(state, state + 8, [](float s) { return s == 0; }));
}

TEST(Dither, TakesAnyStrideAndTarget) {
  for (const std::uint32_t type : kTypes) {
    const auto input = testing::noise(3 * 700, 9);
    std::vector<float> contiguous, target(2 * 700, 5.0f);
    for (std::size_t i = 0; i < 700; ++i) contiguous.push_back(input[3 * i]);
    const Dither dither = make(16, type);
    bitbox_dither_op(dither.get(), 0, 0, input.data(), 3, target.data(), 2, 700);
    const auto expected = dithered(make(16, type), contiguous);
    for (std::size_t i = 0; i < 700; ++i) {
      ASSERT_EQ(target[2 * i], expected[i]);
      ASSERT_EQ(target[2 * i + 1], 5.0f);
    }
  }
}

TEST(Dither, OfNoFramesOrAnUnknownChannelDoesNothing) {
  for (const std::uint32_t type : kTypes) {
    const Dither dither = make(16, type);
    bitbox_dither_ip(dither.get(), 0, 1, nullptr, 1, 0);
    bitbox_dither_ip(dither.get(), 0, 0, nullptr, 1, -5);
    EXPECT_EQ(dither->noise, kNoiseSeed);
    EXPECT_EQ(dither->state ? dither->state[0] : 0.0f, 0.0f);
  }
  for (std::int32_t channel : {-1, 1, 1000}) {
    EXPECT_EQ(dithered(make(16, BITBOX_DITHER_SIMPLE), doubles(9, 1), channel), doubles(9, 1));
  }
}

// Orders around the blocks that the loop works in, and calls of lengths that cut those blocks.
void expect_plain_model(int bits) {
  for (const int order : {1, 2, 5, 7, 8, 9, 24, 40, 100}) {
    std::vector<float> taps;
    for (int i = 0; i < order; ++i) taps.push_back(static_cast<float>(1.2 * std::cos(0.9 * i) * std::pow(0.8, i)));
    const Dither dither = custom(bits, taps);
    ShaperModel<double> model(bits, taps);
    NoiseModel noise;
    std::uint32_t seed = 1;
    for (const std::size_t frames : {1u, 3u, 8u, 17u, 256u, 300u, 1024u, 5u}) {
      ++seed;
      const auto input = doubles(frames, seed, seed % 3 == 0 ? 1.3 : 0.5);
      const auto output = dithered(dither, input);
      for (std::size_t i = 0; i < frames; ++i) {
        ASSERT_EQ(output[i], model.process(input[i], noise)) << order << " taps, sample " << i << " of " << frames;
      }
      model.round_state();
    }
  }
}

TEST(NoiseShaper, OfDoublesIsThePlainModelBitForBit) {
  for (const int bits : {16, 24, 32}) expect_plain_model(bits);
}

TEST(NoiseShaper, WithPolesIsThePlainModelBitForBit) {
  for (const float rate : {44100.0f, 63999.0f, 64000.0f, 192000.0f}) {
    const Dither dither = make(16, BITBOX_DITHER_POLES, 1, rate);
    const double angle = rate < 64000 ? 2.85 : 2.679;
    const double p1 = -2 * 0.9 * std::cos(angle);
    const double p2 = 0.9 * 0.9;
    const std::vector<float> poles = {static_cast<float>(p1), static_cast<float>(p2)};
    const std::vector<float> zeros = {static_cast<float>(p1 - 0.6438838363486277),
                                      static_cast<float>(p2 - 0.28622500000000006)};
    ShaperModel<double> model(16, zeros, poles);
    NoiseModel noise;
    for (std::uint32_t call = 0; call < 5; ++call) {
      const auto input = doubles(333, call);
      const auto output = dithered(dither, input);
      for (std::size_t i = 0; i < input.size(); ++i) ASSERT_EQ(output[i], model.process(input[i], noise));
      model.round_state();
    }
  }
}

TEST(NoiseShaper, OfFloatsKeepsWithinOneStepOfThePlainModel) {
  for (const int bits : {16, 24, 32}) {
    const std::vector<float> taps = {1.5f, -0.8f, 0.3f};
    const Dither dither = custom(bits, taps);
    ShaperModel<float> model(bits, taps);
    NoiseModel noise;
    const auto input = testing::noise(4000, 1);
    const auto output = dithered(dither, input);
    for (std::size_t i = 0; i < input.size(); ++i) {
      ASSERT_NEAR(output[i], model.process(input[i], noise), dither->step) << bits << " bits, sample " << i;
    }
  }
}

TEST(NoiseShaper, MakesCodesThatTheConversionFindsExactly) {
  const Dither dither = make(16, BITBOX_DITHER_SIMPLE);
  for (const double x : dithered(dither, doubles(2000, 1))) {
    ASSERT_EQ(x * 32768, std::nearbyint(x * 32768));
  }
}

TEST(Dither, HasOneTo32Bits) {
  for (const std::int32_t bits : {INT32_MIN, -1000, 0, 33, 1100, INT32_MAX}) {
    EXPECT_EQ(bitbox_dither_create(bits, 1, BITBOX_DITHER_SIMPLE, nullptr, 44100), nullptr) << bits;
    EXPECT_EQ(bitbox_dither_create(bits, 1, BITBOX_DITHER_TPDF, nullptr, 44100), nullptr) << bits;
  }
  for (const std::int32_t bits : {1, 32}) EXPECT_NE(make(bits, BITBOX_DITHER_SIMPLE), nullptr) << bits;
}

TEST(NoiseShaper, ClipsToFullScaleAndKeepsTheErrorWithinOneStep) {
  for (const double x : {1.0, 1.5, 100.0, 1e30, -1.5, -1e30, std::numeric_limits<double>::infinity()}) {
    const Dither dither = custom(16, {0.9f});
    for (int i = 0; i < 50; ++i) {
      const double output = dithered(dither, std::vector<double>{x})[0];
      // At full scale the noise decides whether a sample clips; a sample that does not may err by more.
      if (std::abs(x) == 1.0 && output != 1.0) continue;
      EXPECT_EQ(output, x > 0 ? 1.0 : -1.0);
      EXPECT_LE(std::abs(dither->state[1]), static_cast<float>(dither->step)) << x;
    }
  }
}

TEST(NoiseShaper, ClippingBecomesTheHighestCode) {
  std::int16_t code = 0;
  double one = 1.5;
  void *source = &one, *target = &code;
  const Dither dither = custom(16, {0.9f});
  bitbox_convert(&source, 0x4040, 1, &target, 16, 1, 1, 1, dither.get());
  EXPECT_EQ(code, 32767);
}

TEST(NoiseShaper, OfFloatsToThirtyTwoBitsTurnsPositiveClippingIntoTheLowestCode) {
  const Dither dither = custom(32, {0.9f});
  std::vector<float> samples = {1.5f, -1.5f};
  std::int32_t codes[2];
  void *source = samples.data();
  void *target = codes;
  bitbox_convert(&source, 0x4020, 1, &target, 32, 1, 1, 2, dither.get());
  EXPECT_EQ(codes[0], std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(codes[1], std::numeric_limits<std::int32_t>::min());
}

TEST(NoiseShaper, LetsNaNThroughAndForgetsIt) {
  const Dither dither = custom(16, {1.5f, -0.8f});
  auto samples = doubles(100, 1);
  samples[50] = std::nan("");
  const auto output = dithered(dither, samples);
  for (std::size_t i = 0; i < output.size(); ++i) EXPECT_EQ(std::isnan(output[i]), i == 50) << i;
}

TEST(NoiseShaper, KeepsAStateForEachChannel) {
  const Dither both = custom(16, {1.5f, -0.8f}, 2);
  const Dither one = custom(16, {1.5f, -0.8f});
  dithered(both, doubles(100, 1), 1);
  const auto left = dithered(both, doubles(100, 2), 0);
  one->noise = make(16, BITBOX_DITHER_TPDF)->noise;
  NoiseModel skipped;
  for (int i = 0; i < 100; ++i) skipped.triangular();
  one->noise = skipped.x;
  EXPECT_EQ(dithered(one, doubles(100, 2)), left);
}

TEST(Dither, RunsOnARealTimeThread) {
  const Dither shaped = make(16, BITBOX_DITHER_SIMPLE);
  const Dither noise = make(16, BITBOX_DITHER_TPDF);
  std::vector<float> samples(3000, 0.25f);
  const auto dither = [&] {
    for (bitbox_dither *each : {shaped.get(), noise.get()}) {
      bitbox_dither_ip(each, 0, 0, samples.data(), 1, 3000);
      bitbox_dither_reset(each);
    }
  };
  {
    testing::RealtimeGuard guard;
    dither();
  }
  if (!testing::run_without_system_calls(dither)) GTEST_SKIP() << "the kernel does not let a thread go without";
}

}  // namespace
}  // namespace auspool
