// The level meter against a plain model, over random blocks, waits, falloffs, reads and resets.
#include <gtest/gtest.h>

#include <random>

#include "meters/level_meter.h"
#include "meters/level_model.h"
#include "support/hand_clock.h"

namespace auspool {
namespace {

using namespace testing::level_meter;
using testing::HandClock;
using testing::LevelModel;
using testing::Samples;

class LevelMeterModel : public ::testing::Test {
protected:
  void wait() {
    const double seconds = static_cast<double>(random_() % 1000) * 1e-3;
    clock_.move(seconds);
    for (LevelModel &model : models_) model.now += seconds;
  }

  void take_block(std::size_t frames) {
    Samples channels[2];
    for (std::size_t i = 0; i < 2; ++i) {
      const double amplitude = std::pow(10, -static_cast<double>(random_() % 4)) * 1.2;
      channels[i] = testing::noise(frames, static_cast<std::uint32_t>(random_()), amplitude);
      models_[i].process(channels[i]);
    }
    process(meter_, channels[0], channels[1]);
  }

  void set_falloff() {
    const auto rate = static_cast<float>(random_() % 60);
    aumeter_set_falloff(meter_.get(), rate);
    for (LevelModel &model : models_) model.falloff = static_cast<double>(rate);
  }

  void reset() {
    aumeter_reset(meter_.get());
    for (LevelModel &model : models_) model.reset();
  }

  // Errors add up while reads compound; near the floor of a millionth a rounding decides whether a level falls to 0.
  void compare_decibels(Get get, LevelModel::Level LevelModel::*level) {
    const Pair result = read(meter_, get);
    const float results[] = {result.left, result.right};
    for (std::size_t i = 0; i < 2; ++i) {
      const double expected = models_[i].decibels(models_[i].*level);
      ASSERT_NEAR(std::max(static_cast<double>(results[i]), -119.0), std::max(expected, -119.0), 1e-3);
    }
  }

  void compare_clips() {
    const Pair result = read(meter_, aumeter_get_clip);
    const float results[] = {result.left, result.right};
    for (std::size_t i = 0; i < 2; ++i) {
      const double expected = models_[i].read_clip();
      ASSERT_NEAR(static_cast<double>(results[i]), expected, 1e-5 * (1 + std::abs(expected)));
    }
  }

  std::size_t one_of(std::size_t count) { return random_() % count; }

private:
  std::mt19937 random_{1};
  HandClock clock_;
  const Meter meter_ = make();
  LevelModel models_[2];
};

TEST_F(LevelMeterModel, IsFollowedThroughAnythingAHostDoes) {
  for (int step = 0; step < 20000; ++step) {
    SCOPED_TRACE(step);
    wait();
    if (one_of(2) == 0) take_block(one_of(10) == 0 ? 0 : 1 + one_of(300));
    if (one_of(2) == 0) compare_decibels(aumeter_get_peak_decibels, &LevelModel::peak);
    if (one_of(2) == 0) compare_decibels(aumeter_get_rms_decibels, &LevelModel::rms);
    if (one_of(2) == 0) compare_clips();
    if (one_of(50) == 0) set_falloff();
    if (one_of(200) == 0) reset();
    if (HasFatalFailure()) return;
  }
}

}  // namespace
}  // namespace auspool
