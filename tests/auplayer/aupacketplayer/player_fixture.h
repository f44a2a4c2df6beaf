// A packet player on a clock that the test moves, with its log and an output at a rate of the test's.
#pragma once

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "auplayer/aupacketplayer/context.h"
#include "support/hand_clock.h"

namespace auspool::testing {

using Lines = std::vector<std::string>;

class PacketPlayer : public ::testing::Test {
protected:
  // The player runs at 44100 Hz and holds 64 packets. Unless a test asks for it the controller is off, so that at an
  // output rate of 44100 each frame comes out as it went in, two frames later.
  void SetUp() override {
    clock_.move(kStart);
    player_ = aupacketplayer_create(64, log, this, 44100.0f);
    ASSERT_NE(player_, nullptr);
    aupacketplayer_set_resample_continuously(player_, 0);
  }
  void TearDown() override { aupacketplayer_destroy(player_); }

  static void log(void *self, std::int32_t level, const char *format, ...) {
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    static_cast<PacketPlayer *>(self)->log_.push_back(std::to_string(level) + " " + text);
  }

  // The lines since this was last asked.
  Lines logged() { return std::exchange(log_, {}); }

  // Queues frames of one value, or of a value for each.
  void play(std::uint32_t frames, double timestamp, float value = 1.0f) {
    const std::vector<float> audio(std::size_t{2} * frames, value);
    aupacketplayer_play(player_, audio.data(), frames, timestamp);
  }

  // The left channel of the next frames.
  std::vector<float> get(std::int32_t frames, float rate = 44100.0f) {
    const auto count = static_cast<std::size_t>(frames);
    std::vector<float> output(2 * count, -9.0f), left(count);
    aupacketplayer_get_frames(player_, output.data(), frames, rate);
    for (std::size_t i = 0; i < count; ++i) {
      left[i] = output[2 * i];
      EXPECT_EQ(output[2 * i + 1], left[i]);
    }
    return left;
  }

  // The same, and the clock moves by as much as they last.
  std::vector<float> get_and_move(std::int32_t frames) {
    const std::vector<float> output = get(frames);
    clock_.move(frames / 44100.0);
    return output;
  }

  // Lets playback begin with a packet that is due now.
  void begin(std::uint32_t frames = 100, float value = 1.0f) {
    aupacketplayer_start(player_);
    play(frames, kStart, value);
    get(0);
    ASSERT_EQ(state(), State::playback);
    logged();
  }

  State state() const { return player_->state; }
  double now() const { return static_cast<double>(clock_.ticks) / 1e9; }

  static constexpr double kStart = 100.0;
  HandClock clock_;
  aupacketplayer *player_ = nullptr;

private:
  Lines log_;
};

// Runs of one value in a signal.
struct HeldValue {
  float value;
  std::size_t frames;
  bool operator==(const HeldValue &) const = default;
};
using HeldValues = std::vector<HeldValue>;
inline HeldValues held_values_of(const std::vector<float> &signal) {
  HeldValues result;
  for (const float value : signal) {
    if (result.empty() || result.back().value != value) result.push_back({value, 0});
    ++result.back().frames;
  }
  return result;
}
inline void PrintTo(const HeldValue &run, std::ostream *out) {
  *out << run.frames << " frames of " << run.value;
}

}  // namespace auspool::testing
