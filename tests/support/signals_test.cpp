#include "support/signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace auspool::testing {
namespace {

TEST(Signals, ASineHasItsLevel) {
  double sum = 0;
  for (const float sample : sine(48000, 48000, 1000, 0.5))
    sum += static_cast<double>(sample) * static_cast<double>(sample);
  EXPECT_NEAR(std::sqrt(sum / 48000), 0.5 / std::sqrt(2.0), 1e-6);
}

TEST(Signals, NoiseRepeatsForItsSeedAlone) {
  EXPECT_EQ(noise(100, 1), noise(100, 1));
  EXPECT_NE(noise(100, 1), noise(100, 2));
}

TEST(Signals, SpeechHasSoundAndPauses) {
  const Samples speech = speech_like(480000, 48000, 3);
  const auto silent = std::count(speech.begin(), speech.end(), 0.0f);
  EXPECT_GT(silent, 48000);
  EXPECT_LT(silent, 432000);
}

}  // namespace
}  // namespace auspool::testing
