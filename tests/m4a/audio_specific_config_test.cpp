#include "m4a/audio_specific_config.h"

#include <gtest/gtest.h>

using auspool::m4a::audio_specific_config;

namespace {

using Bytes = std::array<std::uint8_t, 2>;

TEST(AudioSpecificConfig, OfPlainAacTellsRateAndChannels) {
  EXPECT_EQ(audio_specific_config(44100, 2, 0), (Bytes{0x12, 0x10}));
  EXPECT_EQ(audio_specific_config(44100, 1, 0), (Bytes{0x12, 0x08}));
}

TEST(AudioSpecificConfig, OfHighEfficiencyTellsTheCoreLayer) {
  EXPECT_EQ(audio_specific_config(44100, 2, 1), (Bytes{0x13, 0x90}));
  EXPECT_EQ(audio_specific_config(44100, 2, 2), (Bytes{0x13, 0x88}));
}

TEST(AudioSpecificConfig, TakesTheFrequencyOfTheLimitsThatARateLiesBetween) {
  const auto index = [](std::uint32_t rate) {
    const Bytes bytes = audio_specific_config(rate, 0, 0);
    return (bytes[0] & 7) << 1 | bytes[1] >> 7;
  };
  constexpr std::uint32_t kLimits[] = {9391, 11502, 13856, 18783, 23004, 27713, 37566, 46009, 55426, 75132, 92017};
  int expected = 11;
  for (const std::uint32_t limit : kLimits) {
    EXPECT_EQ(index(limit - 1), expected) << limit;
    EXPECT_EQ(index(limit), expected - 1) << limit;
    --expected;
  }
  EXPECT_EQ(index(192000), 0);
}

}  // namespace
