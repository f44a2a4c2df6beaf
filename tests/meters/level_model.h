// A plain model of one channel of the level meter in double, with times as the meter's clock gives them.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

namespace auspool::testing {

struct LevelModel {
  struct Level {
    double value = 0;
    unsigned read_count = 0;
  };
  Level peak, rms, clip;
  double falloff = 20, now = 1.5e9;

  void process(const std::vector<float> &samples) {
    for (Level *level : {&peak, &rms, &clip}) level->value = decayed(level->value);
    if (samples.empty()) return;
    double largest = 0, sum = 0;
    for (const float x : samples) {
      largest = std::max(largest, std::abs(static_cast<double>(x)));
      sum += static_cast<double>(x) * static_cast<double>(x);
    }
    peak.value = std::max(peak.value, largest);
    if (largest > 1) peak.value = clip.value = 1;
    rms.value = std::min(1.0, std::max(rms.value, std::sqrt(sum / static_cast<double>(samples.size()))));
    last_time_ = now;
    ++process_count_;
  }

  double decibels(Level &level) { return 20 * std::log10(read(level, std::max(decayed(level.value), 1e-6))); }
  double read_clip() { return read(clip, clip.value - (now - last_time_) * 0.5); }

  void reset() {
    peak.value = rms.value = clip.value = 0;
    last_time_ = 0;
  }

private:
  double decayed(double level) const {
    return level < 1e-6 ? 0 : std::pow(10, (20 * std::log10(level) - falloff * (now - last_time_)) * 0.05);
  }
  double read(Level &level, double value) const {
    if (level.read_count == process_count_) level.value = value;
    level.read_count = process_count_;
    return value;
  }

  double last_time_ = 0;
  unsigned process_count_ = 1;
};

}  // namespace auspool::testing
