// What silence does to a recording: it is left out, splits it, or ends it; the sound stays whole.
#include <gtest/gtest.h>

#include "host/recordings.h"
#include "support/temp_dir.h"

namespace auspool::testing {
namespace {

constexpr std::size_t kBlock = 512;  // frames

// Six bursts of sound, each a whole number of blocks, with 1.28 seconds of digital silence before each.
class Silence : public ::testing::Test {
protected:
  void SetUp() override {
    Samples source;
    for (unsigned burst = 0; burst < 6; ++burst) {
      bursts_.push_back(noise(2 * kBlock * (20 + burst), burst + 1));
      source.insert(source.end(), 2 * kBlock * 40, 0.0f);
      source.insert(source.end(), bursts_.back().begin(), bursts_.back().end());
    }
    write_source(dir_.file("in.wav"), 16000, 2, source);
  }

  Recording record_with(const std::string &arguments) const {
    return record(dir_.file("in.wav") + " --silence-seconds 0.5 --out " + dir_.file("out") + " --silence " + arguments);
  }

  // What is not silent in the recordings is the first so many bursts.
  void expect_sound(const Recording &recording, std::size_t bursts) const {
    auto kept = recording.joined();
    std::erase(kept, 0);
    std::vector<std::int32_t> expected;
    for (std::size_t i = 0; i < bursts; ++i) {
      const auto one = stored(bursts_[i], 16);
      expected.insert(expected.end(), one.begin(), one.end());
    }
    std::erase(expected, 0);
    EXPECT_TRUE(kept == expected);
  }

  const TempDir dir_;
  std::vector<Samples> bursts_;
};

TEST_F(Silence, IsLeftOut) {
  const Recording recording = record_with("skip");
  ASSERT_EQ(recording.status, 0) << recording.errors;
  EXPECT_EQ(recording.files.size(), 1u);
  expect_sound(recording, 6);
  // Of each silence that is kept which comes before the half second is over: 15 blocks, as the 16th ends it.
  const std::size_t blocks = 20 + 21 + 22 + 23 + 24 + 25 + 6 * 15;
  EXPECT_EQ(recording.files[0]["frames"], blocks * kBlock);
}

TEST_F(Silence, BeginsANewFile) {
  const Recording recording = record_with("split");
  ASSERT_EQ(recording.status, 0) << recording.errors;
  EXPECT_EQ(recording.files.size(), 6u);
  expect_sound(recording, 6);
}

TEST_F(Silence, EndsTheRecording) {
  const Recording recording = record_with("stop");
  ASSERT_EQ(recording.status, 0) << recording.errors;
  EXPECT_EQ(recording.files.size(), 1u);
  EXPECT_LT(recording.summary["frames_pushed"], 20000);
}

TEST_F(Silence, IsWhatLiesBelowTheThreshold) {
  const Recording recording = record_with("skip --silence-db 0");
  ASSERT_EQ(recording.status, 0) << recording.errors;
  EXPECT_EQ(recording.files[0]["frames"], 15 * kBlock);
}

}  // namespace
}  // namespace auspool::testing
