#include "platform/audio_device/pipewire/settings.h"

#include <gtest/gtest.h>

namespace auspool::platform {
namespace {

TEST(GraphSettings, AreTheServersDefaultsAtFirst) {
  const GraphSettings settings;
  EXPECT_EQ(settings.rate_for(0.0), 48000.0);
  EXPECT_EQ(settings.frames_for(0), 1024u);
  EXPECT_TRUE(settings.allows_rate(48000.0));
  EXPECT_FALSE(settings.allows_rate(44100.0));
}

TEST(GraphSettings, AllowTheRatesOfTheListAndTheDefault) {
  GraphSettings settings;
  settings.set("clock.rate", "32000");
  settings.set("clock.allowed-rates", "[ 44100, 96000 ]");
  EXPECT_TRUE(settings.allows_rate(44100.0));
  EXPECT_TRUE(settings.allows_rate(96000.0));
  EXPECT_TRUE(settings.allows_rate(32000.0));
  EXPECT_FALSE(settings.allows_rate(48000.0));
  EXPECT_FALSE(settings.allows_rate(44100.5));
  EXPECT_EQ(settings.rate_for(96000.0), 96000.0);
  EXPECT_EQ(settings.rate_for(48000.0), 32000.0) << "a wish from before the list changed";
}

TEST(GraphSettings, KeepFramesWithinTheirBounds) {
  GraphSettings settings;
  settings.set("clock.min-quantum", "64");
  settings.set("clock.max-quantum", "2048");
  settings.set("clock.quantum", "512");
  EXPECT_EQ(settings.frames_for(0), 512u);
  EXPECT_EQ(settings.frames_for(16), 64u);
  EXPECT_EQ(settings.frames_for(5000), 2048u);
  EXPECT_TRUE(settings.allows_frames(64));
  EXPECT_TRUE(settings.allows_frames(2048));
  EXPECT_FALSE(settings.allows_frames(63));
  EXPECT_FALSE(settings.allows_frames(2049));
}

TEST(GraphSettings, LetWhatIsForcedWin) {
  GraphSettings settings;
  settings.set("clock.allowed-rates", "[ 44100 48000 ]");
  settings.set("clock.force-rate", "44100");
  settings.set("clock.force-quantum", "300");
  EXPECT_EQ(settings.rate_for(48000.0), 44100.0);
  EXPECT_EQ(settings.frames_for(512), 300u);
  EXPECT_FALSE(settings.allows_rate(48000.0));
  EXPECT_TRUE(settings.allows_rate(44100.0));
  EXPECT_FALSE(settings.allows_frames(512));
  EXPECT_TRUE(settings.allows_frames(300));
  settings.set("clock.force-rate", "0");
  settings.set("clock.force-quantum", nullptr);
  EXPECT_EQ(settings.rate_for(48000.0), 48000.0);
  EXPECT_EQ(settings.frames_for(512), 512u);
}

TEST(GraphSettings, SkipWhatIsNoNumberOrNotOfTheClock) {
  GraphSettings settings;
  settings.set("clock.rate", "fast");
  settings.set("clock.quantum", "");
  settings.set("clock.min-quantum", nullptr);
  settings.set("clock.max-quantum", "16");
  settings.set("log.level", "2");
  EXPECT_EQ(settings.rate_for(0.0), 48000.0);
  EXPECT_EQ(settings.frames_for(0), 32u) << "the least, where the bounds make no sense";
}

}  // namespace
}  // namespace auspool::platform
