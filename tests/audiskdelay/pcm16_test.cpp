#include "audiskdelay/pcm16.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace auspool::audiskdelay {
namespace {

TEST(Pcm16, TheEndsOfTheRangeAreHeld) {
  EXPECT_EQ(to_pcm16(1.0f), 32767);
  EXPECT_EQ(to_pcm16(-1.0f), -32768);
  EXPECT_EQ(to_pcm16(7.5f), 32767);
  EXPECT_EQ(to_pcm16(-7.5f), -32768);
  EXPECT_EQ(to_pcm16(std::numeric_limits<float>::infinity()), 32767);
  EXPECT_EQ(to_pcm16(-std::numeric_limits<float>::infinity()), -32768);
  EXPECT_EQ(to_pcm16(std::numeric_limits<float>::quiet_NaN()), 0);
}

TEST(Pcm16, TheHighestBeginsAt09999694) {
  EXPECT_EQ(to_pcm16(0.9999694f), 32767);
  EXPECT_EQ(to_pcm16(std::nextafter(0.9999694f, 0.0f)), 32766);
  EXPECT_EQ(to_pcm16(0.99997f), 32767);
  EXPECT_EQ(to_pcm16(0.99996f), 32766) << "32766.69 is cut off";
}

TEST(Pcm16, CutsOffTowardZero) {
  EXPECT_EQ(to_pcm16(0.7f / 32768), 0);
  EXPECT_EQ(to_pcm16(-0.99999f / 32768), 0);
  EXPECT_EQ(to_pcm16(1.0f / 32768), 1);
  EXPECT_EQ(to_pcm16(-1.99f / 32768), -1);
  EXPECT_EQ(to_pcm16(std::nextafter(-1.0f, 0.0f)), -32767);
}

TEST(Pcm16, EverySampleComesBackAsItWas) {
  std::vector<float> buffer(65536);
  for (int i = 0; i < 65536; ++i) {
    const auto sample = static_cast<std::int16_t>(i - 32768);
    std::memcpy(reinterpret_cast<char *>(buffer.data()) + 2 * i, &sample, 2);
  }
  expand_pcm16(buffer.data(), buffer.size());
  for (std::size_t i = 0; i < buffer.size(); ++i) {
    ASSERT_EQ(buffer[i], static_cast<float>(static_cast<int>(i) - 32768) / 32768.0f);
    ASSERT_EQ(to_pcm16(buffer[i]), static_cast<int>(i) - 32768);
  }
  expand_pcm16(buffer.data(), 0);
  EXPECT_EQ(buffer[0], -1.0f);
}

}  // namespace
}  // namespace auspool::audiskdelay
