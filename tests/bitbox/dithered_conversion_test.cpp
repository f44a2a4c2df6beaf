// How conversions deal out noise and filter state.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "auspool/bitbox.h"
#include "bitbox/shaper_model.h"
#include "support/signals.h"

namespace auspool {
namespace {

using testing::NoiseModel;
using testing::ShaperModel;

constexpr std::uint32_t kF32 = 0x4020;
constexpr std::uint32_t kF64 = 0x4040;
const std::vector<float> kTaps = {1.6f, -0.8f, 0.1f};

struct Destroy {
  void operator()(bitbox_dither *dither) const { bitbox_dither_destroy(dither); }
};
using Dither = std::unique_ptr<bitbox_dither, Destroy>;

Dither noise_of(std::uint32_t type) {
  return Dither(bitbox_dither_create(16, 2, type, nullptr, 48000));
}
Dither shaped(std::int32_t channels) {
  const bitbox_custom_filter filter = {0, static_cast<std::uint32_t>(kTaps.size()), kTaps.data()};
  return Dither(bitbox_dither_create(16, channels, BITBOX_DITHER_CUSTOM, &filter, 48000));
}

std::int16_t code_of(double x) {
  return x < -1                ? std::int16_t{-32768}
         : x > 32767 / 32768.0 ? std::int16_t{32767}
                               : static_cast<std::int16_t>(std::lrint(x * 32768));
}

// Two channels, planar (channel after channel) or interleaved.
struct Stereo {
  std::size_t frames;
  bool interleaved;

  std::int32_t stride() const { return interleaved ? 2 : 1; }
  std::size_t at(std::size_t channel, std::size_t frame) const {
    return interleaved ? 2 * frame + channel : channel * frames + frame;
  }
};

template <typename From>
std::vector<std::int16_t> convert(const std::vector<From> &samples, std::uint32_t format, const Stereo &source,
                                  const Stereo &target, bitbox_dither *dither) {
  std::vector<std::int16_t> result(2 * source.frames);
  auto *from = const_cast<From *>(samples.data());
  void *sources[] = {from + source.at(0, 0), from + source.at(1, 0)};
  void *targets[] = {result.data() + target.at(0, 0), result.data() + target.at(1, 0)};
  EXPECT_EQ(bitbox_convert(sources, format, source.stride(), targets, 16, target.stride(), 2,
                           static_cast<std::int32_t>(source.frames), dither),
            static_cast<std::int32_t>(source.frames));
  return result;
}

constexpr std::size_t kFrames = 5000;  // several chunks of every size

std::vector<double> input() {
  const auto noise = testing::noise(2 * kFrames, 1);
  return {noise.begin(), noise.end()};
}

TEST(DitheredConversion, OfJoinedChannelsDrawsNoiseFrameByFrame) {
  const auto x = input();
  const Stereo interleaved{kFrames, true};
  const Dither dither = noise_of(BITBOX_DITHER_TPDF);
  const auto result = convert(x, kF64, interleaved, interleaved, dither.get());
  NoiseModel noise;
  for (std::size_t i = 0; i < x.size(); ++i) {
    ASSERT_EQ(result[i], code_of(x[i] + noise.triangular() * (1 / 32768.0 / 2147483647.0))) << i;
  }
}

// Neighbours lie one sample of their own format apart: three bytes here, eight there.
TEST(DitheredConversion, JoinsPackedTwentyFourBitsByTheirOwnSize) {
  const auto x = input();
  std::vector<std::uint8_t> bytes(3 * x.size());
  void *sources[] = {const_cast<double *>(x.data()), const_cast<double *>(x.data()) + 1};
  void *targets[] = {bytes.data(), bytes.data() + 3};
  const Dither dither(bitbox_dither_create(24, 2, BITBOX_DITHER_TPDF, nullptr, 48000));
  bitbox_convert(sources, kF64, 2, targets, 0x1018, 2, 2, kFrames, dither.get());
  NoiseModel noise;
  for (std::size_t i = 0; i < x.size(); ++i) {
    const double wanted = x[i] + noise.triangular() * (1 / 8388608.0 / 2147483647.0);
    const auto code = static_cast<std::uint32_t>(std::lrint(wanted * 8388608.0));
    const std::uint8_t *at = bytes.data() + 3 * i;
    ASSERT_EQ(std::uint32_t{at[0]} << 16 | std::uint32_t{at[1]} << 8 | at[2], code & 0xFFFFFF) << i;
  }
}

TEST(DitheredConversion, OfSeparateChannelsDrawsNoiseForAllOfOneThenTheOther) {
  const auto x = input();
  const Stereo planar{kFrames, false};
  const Stereo interleaved{kFrames, true};
  for (const Stereo &target : {planar, interleaved}) {
    const Dither dither = noise_of(BITBOX_DITHER_RPDF);
    const auto result = convert(x, kF64, planar, target, dither.get());
    NoiseModel noise;
    for (std::size_t channel = 0; channel < 2; ++channel) {
      for (std::size_t i = 0; i < kFrames; ++i) {
        const double wanted = x[planar.at(channel, i)] + noise.rectangular() * (1 / 32768.0 / 2147483647.0);
        ASSERT_EQ(result[target.at(channel, i)], code_of(wanted)) << channel << ' ' << i;
      }
    }
  }
}

// Shaped channels are never joined: each has its own state, rounded after each chunk of `chunk` frames.
void expect_shaped(const std::vector<double> &x, const std::vector<std::int16_t> &result, std::size_t chunk,
                   const Stereo &layout) {
  NoiseModel noise;
  for (std::size_t channel = 0; channel < 2; ++channel) {
    ShaperModel<double> model(16, kTaps);
    for (std::size_t i = 0; i < kFrames; ++i) {
      if (i > 0 && i % chunk == 0) model.round_state();
      ASSERT_EQ(result[layout.at(channel, i)], code_of(model.process(x[layout.at(channel, i)], noise)))
          << channel << ' ' << i;
    }
  }
}

TEST(DitheredConversion, ShapesEachChannelWithItsOwnStateInChunks) {
  const auto x = input();
  for (const bool interleaved : {false, true}) {
    const Stereo layout{kFrames, interleaved};
    const Dither dither = shaped(2);
    expect_shaped(x, convert(x, kF64, layout, layout, dither.get()), 1024, layout);
  }
}

TEST(DitheredConversion, ShapesSwappedSourcesAlike) {
  const auto x = input();
  std::vector<std::uint64_t> swapped(x.size());
  for (std::size_t i = 0; i < x.size(); ++i) {
    std::uint64_t bits;
    std::memcpy(&bits, &x[i], sizeof bits);
    swapped[i] = __builtin_bswap64(bits);
  }
  const Stereo planar{kFrames, false};
  const Dither dither = shaped(2);
  expect_shaped(x, convert(swapped, kF64 | 0x1000, planar, planar, dither.get()), 1024, planar);
}

TEST(DitheredConversion, ShapesIntegersByWayOfDoublesWithTheStateOfEachChannel) {
  std::vector<std::int32_t> integers;
  std::vector<double> x;
  for (const double sample : input()) {
    integers.push_back(static_cast<std::int32_t>(sample * 2147483648.0));
    x.push_back(integers.back() / 2147483648.0);
  }
  for (const bool interleaved : {false, true}) {
    const Stereo layout{kFrames, interleaved};
    const Dither dither = shaped(2);
    expect_shaped(x, convert(integers, 32, layout, layout, dither.get()), 1024, layout);
  }
}

TEST(DitheredConversion, OfIntegersDrawsNoiseAsThatOfFloats) {
  std::vector<std::int32_t> integers;
  std::vector<double> x;
  for (const double sample : input()) {
    integers.push_back(static_cast<std::int32_t>(sample * 2147483648.0));
    x.push_back(integers.back() / 2147483648.0);
  }
  for (const bool interleaved : {false, true}) {
    const Stereo layout{kFrames, interleaved};
    const Dither a = noise_of(BITBOX_DITHER_TPDF);
    const Dither b = noise_of(BITBOX_DITHER_TPDF);
    EXPECT_EQ(convert(integers, 32, layout, layout, a.get()), convert(x, kF64, layout, layout, b.get()));
  }
}

TEST(DitheredConversion, OfFloatsIsThatOfOneLongCall) {
  const auto x = testing::noise(2 * kFrames, 1);
  const Stereo planar{kFrames, false};
  const Dither whole = shaped(2);
  const Dither cut = shaped(2);
  const auto result = convert(x, kF32, planar, planar, whole.get());
  std::vector<float> codes(x);
  for (std::int32_t channel = 0; channel < 2; ++channel) {
    bitbox_dither_ip(cut.get(), channel, 0, codes.data() + channel * static_cast<std::int32_t>(kFrames), 1, kFrames);
  }
  for (std::size_t i = 0; i < codes.size(); ++i) ASSERT_EQ(result[i], code_of(static_cast<double>(codes[i])));
}

// Two channels are shaped at a time, and a third alone; the noise is dealt out as if each came by itself.
TEST(DitheredConversion, OfManyShapedChannelsIsThatOfOneAfterAnother) {
  constexpr std::int32_t kChannels = 5;
  for (const std::uint32_t type : {BITBOX_DITHER_POLES, BITBOX_DITHER_F_WEIGHTED}) {
    const auto x = testing::noise(kChannels * kFrames, 3);
    std::vector<std::int16_t> together(x.size()), alone(x.size());
    const auto create = [&] { return Dither(bitbox_dither_create(16, kChannels, type, nullptr, 48000)); };
    const Dither one = create(), other = create();
    std::vector<void *> sources, targets;
    for (std::int32_t i = 0; i < kChannels; ++i) {
      sources.push_back(const_cast<float *>(x.data()) + i);
      targets.push_back(together.data() + i * static_cast<std::int32_t>(kFrames));
    }
    for (int call = 0; call < 2; ++call) {
      bitbox_convert(sources.data(), kF32, kChannels, targets.data(), 16, 1, kChannels, kFrames, one.get());
      for (std::int32_t i = 0; i < kChannels; ++i) {
        std::vector<float> channel(kFrames);
        for (std::size_t frame = 0; frame < kFrames; ++frame)
          channel[frame] = x[frame * kChannels + static_cast<std::size_t>(i)];
        bitbox_dither_ip(other.get(), i, 0, channel.data(), 1, kFrames);
        for (std::size_t frame = 0; frame < kFrames; ++frame)
          alone[static_cast<std::size_t>(i) * kFrames + frame] = code_of(static_cast<double>(channel[frame]));
      }
      ASSERT_TRUE(together == alone) << type << ", call " << call;
    }
  }
}

TEST(DitheredConversion, WithFewerShapedChannelsThanAreConvertedWritesNothing) {
  const auto x = input();
  std::vector<std::int16_t> result(2 * kFrames, 77);
  void *sources[] = {const_cast<double *>(x.data()), const_cast<double *>(x.data())};
  void *targets[] = {result.data(), result.data() + kFrames};
  const Dither one = shaped(1);
  EXPECT_EQ(bitbox_convert(sources, kF64, 1, targets, 16, 1, 2, kFrames, one.get()), 0);
  EXPECT_EQ(result, std::vector<std::int16_t>(2 * kFrames, 77));
  // Noise needs no channels, and floats no dither.
  const Dither noise(bitbox_dither_create(16, 1, BITBOX_DITHER_TPDF, nullptr, 48000));
  EXPECT_EQ(bitbox_convert(sources, kF64, 1, targets, 16, 1, 2, 10, noise.get()), 10);
  EXPECT_EQ(bitbox_convert(sources, kF64, 1, targets, kF32, 1, 2, 10, one.get()), 10);
}

TEST(DitheredConversion, ToFloatsLeavesTheDitherAlone) {
  const auto x = input();
  std::vector<float> result(kFrames);
  void *source = const_cast<double *>(x.data());
  void *target = result.data();
  const Dither dither = noise_of(BITBOX_DITHER_TPDF);
  bitbox_convert(&source, kF64, 1, &target, kF32, 1, 1, 100, dither.get());
  for (std::size_t i = 0; i < 100; ++i) EXPECT_EQ(result[i], static_cast<float>(x[i]));
}

}  // namespace
}  // namespace auspool
