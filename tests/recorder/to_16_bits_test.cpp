#include "recorder/to_16_bits.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace auspool {
namespace {

std::int32_t stored(float sample) {
  return to_16_bits(sample * 32768.0f);
}

TEST(To16Bits, CutsTowardZeroAndHoldsToTheRange) {
  EXPECT_EQ(stored(1.0f), 32767);
  EXPECT_EQ(stored(-1.0f), -32768);
  EXPECT_EQ(stored(100.0f), 32767);
  EXPECT_EQ(stored(-100.0f), -32768);
  EXPECT_EQ(stored(0.9999f / 32768.0f), 0);
  EXPECT_EQ(stored(-1.9999f / 32768.0f), -1);
}

// A sample that the files without an encoder round up to full scale.
TEST(To16Bits, HasNoThresholdBelowFullScale) {
  const float below = std::nextafter(32767.0f / 32768.0f, 0.0f);
  EXPECT_GT(static_cast<double>(below), 0.9999694);
  EXPECT_EQ(stored(below), 32766);
  EXPECT_EQ(stored(32767.0f / 32768.0f), 32767);
}

TEST(To16Bits, TakesWhatIsNoSample) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  EXPECT_EQ(to_16_bits(std::nanf("")), 0);
  EXPECT_EQ(to_16_bits(kInfinity), 32767);
  EXPECT_EQ(to_16_bits(-kInfinity), -32768);
  EXPECT_EQ(to_16_bits(std::numeric_limits<float>::max()), 32767);
}

}  // namespace
}  // namespace auspool
