// What recordings hold: the values, beside a plain rule.

#include <limits>

#include "platform/samples.h"
#include "support/pcm_file.h"
#include "support/signals.h"

using namespace auspool;
using namespace auspool::samples;
using namespace auspool::testing;

namespace {

struct Format {
  Integer integer;
  Order order;
  int bits = bits_of(integer);
  bool big = order == Order::kBig;
};
constexpr Format kFormats[] = {{Integer::k16, Order::kBig},
                               {Integer::k16, Order::kLittle},
                               {Integer::k24, Order::kBig},
                               {Integer::k24, Order::kLittle}};

std::vector<std::int32_t> convert(const Format &format, const Samples &samples) {
  const std::size_t width = static_cast<std::size_t>(format.bits / 8);
  std::vector<std::uint8_t> bytes(width * samples.size() + 8, 0xee);
  float_to_integer_toward_zero(format.integer, format.order)(samples.data(), bytes.data(), samples.size());
  for (std::size_t i = width * samples.size(); i < bytes.size(); ++i) EXPECT_EQ(bytes[i], 0xee) << "written beyond";
  std::vector<std::int32_t> result;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    std::uint32_t word = 0;
    for (std::size_t b = 0; b < width; ++b) word = word << 8 | bytes[width * i + (format.big ? b : width - 1 - b)];
    const std::uint32_t sign = 1u << (format.bits - 1);
    result.push_back(static_cast<std::int32_t>((word ^ sign) - sign));
  }
  return result;
}

std::int32_t convert_one(const Format &format, float sample) {
  return convert(format, {sample})[0];
}

class SamplesTowardZero : public ::testing::TestWithParam<Format> {};
INSTANTIATE_TEST_SUITE_P(Widths, SamplesTowardZero, ::testing::ValuesIn(kFormats), [](const auto &one) {
  return "Bits" + std::to_string(one.param.bits) + (one.param.big ? "Big" : "Little");
});

TEST_P(SamplesTowardZero, FullScaleIsHeldToTheRange) {
  const std::int32_t scale = 1 << (GetParam().bits - 1);
  EXPECT_EQ(convert_one(GetParam(), 1.0f), scale - 1);
  EXPECT_EQ(convert_one(GetParam(), -1.0f), -scale);
  EXPECT_EQ(convert_one(GetParam(), 0.5f), scale / 2);
  EXPECT_EQ(convert_one(GetParam(), -0.5f), -scale / 2);
  for (const float beyond : {1.5f, 3e38f, std::numeric_limits<float>::infinity()}) {
    EXPECT_EQ(convert_one(GetParam(), beyond), scale - 1);
    EXPECT_EQ(convert_one(GetParam(), -beyond), -scale);
  }
}

TEST_P(SamplesTowardZero, ValuesGoTowardZero) {
  const float unit = 1.0f / static_cast<float>(1 << (GetParam().bits - 1));
  EXPECT_EQ(convert_one(GetParam(), 0.99f * unit), 0);
  EXPECT_EQ(convert_one(GetParam(), -0.99f * unit), 0);
  EXPECT_EQ(convert_one(GetParam(), 1.99f * unit), 1);
  EXPECT_EQ(convert_one(GetParam(), -1.99f * unit), -1);
  EXPECT_EQ(convert_one(GetParam(), std::numeric_limits<float>::denorm_min()), 0);
}

TEST_P(SamplesTowardZero, NaNIsZero) {
  EXPECT_EQ(convert_one(GetParam(), std::numeric_limits<float>::quiet_NaN()), 0);
  EXPECT_EQ(convert_one(GetParam(), -std::numeric_limits<float>::quiet_NaN()), 0);
}

TEST_P(SamplesTowardZero, AgreeWithThePlainRuleNearEveryBound) {
  Samples samples;
  for (float bound : {1.0f, -1.0f, 0.9999694f, 0.99999988f, 0.0f, 0.5f}) {
    float up = bound, down = bound;
    for (int i = 0; i < 40; ++i) {
      samples.push_back(up);
      samples.push_back(down);
      up = std::nextafter(up, 2.0f);
      down = std::nextafter(down, -2.0f);
    }
  }
  for (const float sample : noise(20000, 3, 1.1)) samples.push_back(sample);
  const std::vector<std::int32_t> converted = convert(GetParam(), samples);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    ASSERT_EQ(converted[i], integer_of(samples[i], GetParam().bits)) << samples[i];
  }
}

TEST_P(SamplesTowardZero, AnyCountAroundTheVectorWidthIsWhole) {
  const Samples samples = noise(70, 4, 1.1);
  for (std::size_t count = 0; count <= samples.size(); ++count) {
    const Samples some(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(count));
    const std::vector<std::int32_t> converted = convert(GetParam(), some);
    for (std::size_t i = 0; i < count; ++i) ASSERT_EQ(converted[i], integer_of(some[i], GetParam().bits)) << count;
  }
}

// By the product it would be 32766.
TEST(SamplesTowardZero16, TheFloatJustAboveTheBoundIsFullScale) {
  EXPECT_EQ(convert_one(kFormats[0], 0.99996942f), 32767);
  EXPECT_EQ(static_cast<int>(0.99996942 * 32768.0), 32766);
  EXPECT_EQ(convert_one(kFormats[0], std::nextafter(0.99996942f, 0.0f)), 32766);
}

}  // namespace
