// The spectrum meter against a plain model, over random blocks, waits and reads.
#include <gtest/gtest.h>

#include <random>

#include "meters/spectrum_meter.h"
#include "meters/spectrum_model.h"
#include "support/hand_clock.h"

namespace auspool {
namespace {

using namespace testing::spectrum_meter;
using testing::HandClock;
using testing::Samples;
using testing::SpectrumModel;

class SpectrumMeterModel : public ::testing::Test {
protected:
  void follow(std::int32_t width, int steps) {
    SCOPED_TRACE(width);
    HandClock clock;
    const Meter meter = make(width);
    SpectrumModel model(static_cast<std::size_t>(width));
    for (int step = 0; step < steps; ++step) {
      SCOPED_TRACE(step);
      const double wait = static_cast<double>(random_() % 200) * 1e-3;
      clock.move(wait);
      model.now += wait;
      if (random_() % 2 == 0) {
        const Samples left = block(random_() % static_cast<std::size_t>(6 * width));
        const Samples right = block(left.size());
        process(meter, left, right);
        model.process(left, right);
      }
      if (random_() % 2 == 0) compare(read(meter), model.read());
      if (HasFatalFailure()) return;
    }
  }

private:
  Samples block(std::size_t frames) {
    const double amplitude = std::pow(10, -static_cast<double>(random_() % 5));
    return testing::noise(frames, static_cast<std::uint32_t>(random_()), amplitude);
  }

  // At the edges of -80 and -120 decibels a rounding decides; the ballistics there have tests of their own.
  static void compare(const Samples &levels, const std::vector<double> &expected) {
    for (std::size_t i = 0; i < levels.size(); ++i) {
      ASSERT_NEAR(std::max(static_cast<double>(levels[i]), -79.9), std::max(expected[i], -79.9), 2e-3) << i;
    }
  }

  std::mt19937 random_{1};
};

TEST_F(SpectrumMeterModel, IsFollowedOverRandomBlocksWaitsAndReads) {
  for (int run = 0; run < 20; ++run) follow(32, 60);
  follow(64, 60);
  follow(256, 15);
}

TEST_F(SpectrumMeterModel, IsFollowedAtTheLargestWidth) {
  follow(2048, 3);
}

}  // namespace
}  // namespace auspool
