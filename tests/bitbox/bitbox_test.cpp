#include "auspool/bitbox.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <memory>
#include <random>

#include "bitbox/formats_model.h"
#include "support/watch.h"

namespace auspool {
namespace {

using testing::all_formats;
using testing::Bytes;
using testing::Format;

constexpr std::uint32_t kF32 = 0x4020;
constexpr std::uint32_t kF64 = 0x4040;

// One channel, contiguous.
template <typename To, typename From>
std::vector<To> converted(std::uint32_t from, const std::vector<From> &samples, std::uint32_t to,
                          bitbox_dither *dither = nullptr) {
  const auto frames = static_cast<std::int32_t>(samples.size() * sizeof(From) / Format{from}.bytes());
  std::vector<To> result(static_cast<std::size_t>(frames) * Format{to}.bytes() / sizeof(To));
  void *source = const_cast<From *>(samples.data());
  void *target = result.data();
  EXPECT_EQ(bitbox_convert(&source, from, 1, &target, to, 1, 1, frames, dither), frames);
  return result;
}

std::int32_t to_integer(double x, std::uint32_t from, std::uint32_t to) {
  const auto value = from == kF64 ? converted<std::int32_t>(kF64, std::vector<double>{x}, to)
                                  : converted<std::int32_t>(kF32, std::vector<float>{static_cast<float>(x)}, to);
  return value.at(0);
}

constexpr std::uint32_t k16In32 = 0x8010;
constexpr std::uint32_t k24In32 = 0x8018;

struct FloatCase {
  double x;
  std::uint32_t from, to;
  std::int32_t expected;
};

TEST(FloatToInteger, RoundsClipsAndWrapsAsItsTableSays) {
  constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
  const FloatCase cases[] = {
      {-1.0, kF32, k16In32, -32768},              // the lowest code
      {0.99998, kF32, k16In32, 32767},            // by the limit
      {1.5, kF32, k16In32, 32767},                //
      {-1.5, kF32, k16In32, -32768},              //
      {0.999969482421875, kF64, k16In32, 32767},  // at the limit, not above it
      {0.5 / 32768, kF32, k16In32, 0},            // ties go to even
      {1.5 / 32768, kF32, k16In32, 2},            //
      {2.5 / 32768, kF64, k16In32, 2},            //
      {-0.5 / 32768, kF32, k16In32, 0},           //
      {-1.5 / 32768, kF64, k16In32, -2},          //
      {0.7 / 32768, kF32, k16In32, 1},            // rounded, not truncated
      {-0.7 / 32768, kF32, k16In32, -1},          //
      {-1.0000001, kF64, k24In32, -8388608},      //
      {1.0, kF32, k24In32, 8388607},              //
      {0.9999999, kF32, k24In32, 8388607},        //
      {1.0, kF32, 32, kMin},                      // 2147483648 wraps
      {1.0000001, kF32, 32, kMax},                //
      {0.99999994, kF32, 32, 2147483520},         // the float below 1.0
      {-1.0, kF32, 32, kMin},                     //
      {-1.0000001, kF32, 32, kMin},               //
      {1.0, kF64, 32, kMax},                      //
      {0.9999999995343387, kF64, 32, kMax},       //
      {-1.0, kF64, 32, kMin},                     //
      {1e300, kF64, 32, kMax},                    //
      {-1e300, kF64, k16In32, -32768},            //
      {1e38, kF32, 32, kMax},                     //
      {std::numeric_limits<double>::infinity(), kF32, k24In32, 8388607},
      {-std::numeric_limits<double>::infinity(), kF64, 32, kMin},
  };
  for (const FloatCase &c : cases) {
    EXPECT_EQ(to_integer(c.x, c.from, c.to), c.expected)
        << c.x << " from " << Format{c.from}.name() << " to " << Format{c.to}.name();
  }
}

TEST(FloatToInteger, MakesNaNZero) {
  for (std::uint32_t from : {kF32, kF64}) {
    for (std::uint32_t to : {k16In32, k24In32, 32u}) EXPECT_EQ(to_integer(std::nan(""), from, to), 0);
  }
}

TEST(FloatToInteger, AFullScale32BitIntegerComesBackFromAFloatAsTheLowest) {
  const std::vector<std::int32_t> highest = {std::numeric_limits<std::int32_t>::max()};
  const auto as_float = converted<float>(32, highest, kF32);
  EXPECT_EQ(as_float[0], 1.0f);
  EXPECT_EQ(converted<std::int32_t>(kF32, as_float, 32)[0], std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(converted<std::int32_t>(32, highest, 32), highest);  // by way of doubles
}

TEST(StoredBytes, AreInTheOrderThatTheFormatSays) {
  const std::vector<double> value = {0x123456 / 8388608.0};
  const auto stored = [&](std::uint32_t format) { return converted<std::uint8_t>(kF64, value, format); };
  EXPECT_EQ(stored(0x1018), (Bytes{0x12, 0x34, 0x56}));
  EXPECT_EQ(stored(0x2018), (Bytes{0x56, 0x34, 0x12}));
  EXPECT_EQ(stored(0x0018), (Bytes{0x56, 0x34, 0x12}));
  EXPECT_EQ(stored(0x3018), (Bytes{0x56, 0x34, 0x12}));  // little-endian wins
  EXPECT_EQ(stored(0x9018), (Bytes{0x00, 0x12, 0x34, 0x56}));
  EXPECT_EQ(stored(0x8018), (Bytes{0x56, 0x34, 0x12, 0x00}));
  EXPECT_EQ(stored(0x1020), (Bytes{0x12, 0x34, 0x56, 0x00}));
  EXPECT_EQ(stored(0x9020), (Bytes{0x12, 0x34, 0x56, 0x00}));  // 32 bits are never unpacked
  EXPECT_EQ(converted<std::uint8_t>(kF64, std::vector<double>{-1.0}, 0x5040), (Bytes{0xBF, 0xF0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(converted<std::uint8_t>(16, std::vector<std::int16_t>{-32768}, 0x5020), (Bytes{0xBF, 0x80, 0, 0}));
  EXPECT_EQ(converted<std::uint8_t>(16, std::vector<std::int16_t>{0x4000}, 0x5040),
            (Bytes{0x3F, 0xE0, 0, 0, 0, 0, 0, 0}));
}

TEST(StoredBytes, OfAnUnpackedMinusOneAreAllOnes) {
  for (std::uint32_t format : {0x8010u, 0x9010u, 0x8018u, 0x9018u}) {
    const double minus_one = (format & 0xFF) == 16 ? -1 / 32768.0 : -1 / 8388608.0;
    EXPECT_EQ(converted<std::uint8_t>(kF64, std::vector<double>{minus_one}, format), (Bytes{0xFF, 0xFF, 0xFF, 0xFF}));
  }
}

TEST(IntegerToFloat, TakesAllBytesOfAnUnpackedSample) {
  EXPECT_EQ(converted<float>(0x8010, std::vector<std::int32_t>{40000, -98304}, kF32),
            (std::vector<float>{40000 / 32768.0f, -3.0f}));
  EXPECT_EQ(converted<double>(0x8018, std::vector<std::int32_t>{1 << 30}, kF64), (std::vector<double>{128.0}));
  // On the way to integers the value is clipped.
  EXPECT_EQ(converted<std::int16_t>(0x8010, std::vector<std::int32_t>{40000, -40000}, 16),
            (std::vector<std::int16_t>{32767, -32768}));
}

TEST(FloatToFloat, OfOneWidthKeepsEveryBit) {
  const std::vector<std::uint32_t> bits = {0x7F800001, 0xFFC12345, 0x00000001, 0x80000000, 0x7F800000};
  const auto swapped = converted<std::uint32_t>(kF32, bits, 0x5020);
  for (std::size_t i = 0; i < bits.size(); ++i) EXPECT_EQ(__builtin_bswap32(swapped[i]), bits[i]);
  EXPECT_EQ(converted<std::uint32_t>(kF32, bits, kF32), bits);
  EXPECT_EQ(converted<std::uint32_t>(0x5020, swapped, kF32), bits);
  EXPECT_EQ(converted<std::uint32_t>(0x5020, swapped, 0x5020), swapped);
  const std::vector<std::uint64_t> wide = {0x7FF0000000000001, 0xFFF8123456789ABC, 1};
  EXPECT_EQ(converted<std::uint64_t>(0x5040, converted<std::uint64_t>(kF64, wide, 0x5040), kF64), wide);
}

TEST(Formats, ThatAreNoneGiveZeroAndWriteNothing) {
  const std::uint32_t bad[] = {0,      8,      0x0F,   0x11,   0x40,   0x1040, 0x8040,
                               0x4010, 0x4018, 0x4000, 0x4008, 0x5010, 0xC018, 0xFF};
  std::vector<double> source(4, 0.5), target(4, 7.0);
  void *from = source.data();
  void *to = target.data();
  for (std::uint32_t format : bad) {
    EXPECT_EQ(bitbox_convert(&from, format, 1, &to, kF64, 1, 1, 4, nullptr), 0) << format;
    EXPECT_EQ(bitbox_convert(&from, kF64, 1, &to, format, 1, 1, 4, nullptr), 0) << format;
  }
  EXPECT_EQ(target, std::vector<double>(4, 7.0));
}

TEST(Formats, IgnoreBitsWithoutMeaning) {
  const std::vector<float> x = {0.25f, -0.5f};
  EXPECT_EQ(converted<std::uint8_t>(kF32 | 0x8000, x, 32 | 0x8000), converted<std::uint8_t>(kF32, x, 32));
  EXPECT_EQ(converted<std::uint8_t>(kF32 | 0xFFFF0F00, x, 16 | 0xFFFF0F00), converted<std::uint8_t>(kF32, x, 16));
}

TEST(Blocks, WithoutFramesOrChannelsTouchNothing) {
  // Null pointers: a read or a write would be the end.
  EXPECT_EQ(bitbox_convert(nullptr, kF32, 1, nullptr, 16, 1, 2, 0, nullptr), 0);
  EXPECT_EQ(bitbox_convert(nullptr, kF32, 1, nullptr, 16, 1, 2, -1, nullptr), 0);
  for (std::int32_t channels : {0, -3}) {
    for (const Format &from : all_formats()) {
      for (const Format &to : all_formats()) {
        EXPECT_EQ(bitbox_convert(nullptr, from.word, channels, nullptr, to.word, channels, channels, 5, nullptr), 5);
      }
    }
  }
}

// How the samples of a block lie in memory.
struct Layout {
  const char *name;
  std::int32_t stride;
  bool interleaved;
};

struct Side {
  Format format;
  std::int32_t stride;
  Bytes bytes;
  std::vector<void *> channels;

  Side(Format f, const Layout &layout, std::int32_t count, std::size_t frames) : format(f), stride(layout.stride) {
    const std::size_t step = static_cast<std::size_t>(stride) * f.bytes();
    const std::size_t apart = layout.interleaved ? f.bytes() : frames * step + 1;  // the one more: unaligned
    bytes.resize((static_cast<std::size_t>(count) * apart + frames * step) + 8);
    for (std::int32_t i = 0; i < count; ++i) channels.push_back(bytes.data() + static_cast<std::size_t>(i) * apart);
  }

  std::uint8_t *sample(std::size_t channel, std::size_t frame) {
    return static_cast<std::uint8_t *>(channels[channel]) + frame * static_cast<std::size_t>(stride) * format.bytes();
  }
};

// Random bits, a part of them near full scale and near zero as floats have them.
void fill(Side &side, std::mt19937_64 &random) {
  for (auto &byte : side.bytes) byte = static_cast<std::uint8_t>(random());
  if (!side.format.is_float()) return;
  const std::size_t frames = side.bytes.size() / side.format.bytes();
  for (std::size_t i = 0; i < frames; ++i) {
    const double x = std::ldexp(std::uniform_real_distribution<double>(-1.01, 1.01)(random), -static_cast<int>(i % 24));
    if (i % 8 == 0) continue;
    testing::store_bits(side.format, testing::float_bits(side.format, x), side.bytes.data() + i * side.format.bytes());
  }
}

void expect_model(Format from, const Layout &source_layout, Format to, const Layout &target_layout, std::size_t frames,
                  std::mt19937_64 &random) {
  constexpr std::size_t kChannels = 2;
  Side source(from, source_layout, kChannels, frames);
  Side target(to, target_layout, kChannels, frames);
  fill(source, random);
  fill(target, random);
  Side expected = target;
  const Bytes source_before = source.bytes;
  for (std::size_t i = 0; i < kChannels; ++i) {
    expected.channels[i] = expected.bytes.data() + (target.sample(i, 0) - target.bytes.data());
    for (std::size_t frame = 0; frame < frames; ++frame) {
      testing::model_sample(from, source.sample(i, frame), to, expected.sample(i, frame));
    }
  }
  ASSERT_EQ(bitbox_convert(source.channels.data(), from.word, source.stride, target.channels.data(), to.word,
                           target.stride, kChannels, static_cast<std::int32_t>(frames), nullptr),
            static_cast<std::int32_t>(frames));
  EXPECT_EQ(source.bytes, source_before);
  EXPECT_EQ(target.bytes == expected.bytes, true)
      << from.name() << ' ' << source_layout.name << " to " << to.name() << ' ' << target_layout.name << ", " << frames;
}

constexpr Layout kPlanar = {"planar", 1, false};
constexpr Layout kInterleaved = {"interleaved", 2, true};
constexpr Layout kPart = {"two of five", 5, true};
constexpr Layout kApart = {"apart", 3, false};

// A quiet NaN in one width is a quiet NaN in the other, but a signalling one need not stay; the model and the library
// both narrow and widen with the processor, so that even those agree.
TEST(EveryFormat, BecomesEveryOtherAsThePlainModelSays) {
  std::mt19937_64 random(1);
  for (const Format &from : all_formats()) {
    for (const Format &to : all_formats()) {
      expect_model(from, kPlanar, to, kPlanar, 1100, random);
      expect_model(from, kInterleaved, to, kInterleaved, 517, random);
      expect_model(from, kInterleaved, to, kPlanar, 300, random);
      expect_model(from, kPlanar, to, kInterleaved, 259, random);
      expect_model(from, kPart, to, kApart, 70, random);
    }
  }
}

TEST(EveryFormat, IsWrittenNoFurtherThanItsSamples) {
  std::mt19937_64 random(2);
  for (const Format &from : {Format{kF32}, Format{kF64}, Format{0x18}, Format{0x9018}}) {
    for (const Format &to : all_formats()) {
      for (std::size_t frames = 1; frames < 70; ++frames) expect_model(from, kPlanar, to, kPlanar, frames, random);
    }
  }
}

TEST(Conversion, MayBeInPlaceWhereFormatsAndStridesAreTheSame) {
  std::mt19937_64 random(3);
  for (const Format &format : testing::integer_formats()) {
    if (format.is_unpacked()) continue;  // values beyond the range would clip
    Bytes bytes(3000 * format.bytes());
    for (auto &byte : bytes) byte = static_cast<std::uint8_t>(random());
    const Bytes before = bytes;
    void *channel = bytes.data();
    bitbox_convert(&channel, format.word, 1, &channel, format.word, 1, 1, 3000, nullptr);
    EXPECT_EQ(bytes == before, true) << format.name();
  }
}

TEST(Conversion, OfDitheredIntegersMayBeInPlace) {
  std::mt19937_64 random(4);
  for (const std::uint32_t type : {BITBOX_DITHER_TPDF, BITBOX_DITHER_SIMPLE}) {
    for (const std::int32_t stride : {1, 2}) {
      constexpr std::int32_t kFrames = 3000;
      std::vector<std::int32_t> here(2 * kFrames), there(2 * kFrames);
      for (auto &sample : here) sample = static_cast<std::int32_t>(random());
      std::vector<std::int32_t> source = here;
      const auto channels = [&](std::vector<std::int32_t> &of) {
        return std::array<void *, 2>{of.data(), of.data() + (stride == 1 ? kFrames : 1)};
      };
      const auto in_place = channels(here), from = channels(source), to = channels(there);
      using Dither = std::unique_ptr<bitbox_dither, void (*)(bitbox_dither *)>;
      const Dither one(bitbox_dither_create(16, 2, type, nullptr, 44100), bitbox_dither_destroy);
      const Dither other(bitbox_dither_create(16, 2, type, nullptr, 44100), bitbox_dither_destroy);
      bitbox_convert(in_place.data(), 32, stride, in_place.data(), 32, stride, 2, kFrames, one.get());
      bitbox_convert(from.data(), 32, stride, to.data(), 32, stride, 2, kFrames, other.get());
      EXPECT_EQ(here, there) << stride;
    }
  }
}

TEST(Conversion, RunsOnARealTimeThread) {
  std::vector<float> source(5000, 0.25f);
  std::vector<std::int16_t> target(5000);
  const std::unique_ptr<bitbox_dither, void (*)(bitbox_dither *)> dither(
      bitbox_dither_create(16, 1, BITBOX_DITHER_TPDF, nullptr, 44100), bitbox_dither_destroy);
  const std::unique_ptr<bitbox_dither, void (*)(bitbox_dither *)> shaped(
      bitbox_dither_create(16, 2, BITBOX_DITHER_F_WEIGHTED, nullptr, 44100), bitbox_dither_destroy);
  void *from = source.data();
  void *to = target.data();
  void *planes[] = {source.data(), source.data() + 2500};
  void *pairs[] = {target.data(), target.data() + 1};
  const auto convert = [&] {
    bitbox_convert(&from, kF32, 1, &to, 16, 1, 1, 5000, nullptr);
    bitbox_convert(&from, kF32 | 0x1000, 1, &to, 16, 1, 1, 5000, dither.get());
    bitbox_convert(&from, 32, 1, &to, 16, 1, 1, 5000, dither.get());
    bitbox_convert(planes, kF32, 1, pairs, 16, 2, 2, 2500, nullptr);
    bitbox_convert(planes, kF32, 1, pairs, 16, 2, 2, 2500, shaped.get());
  };
  {
    testing::RealtimeGuard guard;
    convert();
  }
  if (!testing::run_without_system_calls(convert)) GTEST_SKIP() << "the kernel does not let a thread go without";
}

}  // namespace
}  // namespace auspool
