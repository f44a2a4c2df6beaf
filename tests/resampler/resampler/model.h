// The two-channel resampler in its plainest form, in double precision: one frame after the other, a copy of everything.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace auspool::testing {

using Frames = std::vector<std::array<double, 2>>;

class ResamplerModel {
public:
  std::int64_t frames_in(std::int64_t frames, double in, double out) const {
    return frames == 0 ? 0 : static_cast<std::int64_t>(std::ceil(static_cast<double>(frames) * (in / out) + carry(in)));
  }

  std::int64_t frames_out(std::int64_t frames, double in, double out) const {
    const double n = static_cast<double>(frames), r = in / out;
    double k = std::ceil((n - carry(in)) / r);
    if (frames == 0 || k < 1) return 0;
    while (std::ceil(k * r + carry(in)) > n) {
      if (k < 2) return static_cast<std::int64_t>(k) - 1;
      --k;
    }
    return static_cast<std::int64_t>(k);
  }

  Frames resample(Frames input, std::int64_t frames, double in, double out, bool copy_equal_rates) {
    if (in != source_rate_) *this = ResamplerModel(in);
    const double r = in / out;
    const double n = static_cast<double>(frames);
    Frames output = input;
    if (r != 1.0 || !copy_equal_rates) {
      if (r > 1.1) filter_down(input, r);
      output = interpolate(input, frames, r);
      position_ = position_ + n * r - static_cast<double>(input.size());
    }
    history_.insert(history_.end(), input.begin(), input.end());
    history_.erase(history_.begin(), history_.end() - 3);
    if (r < 0.95) filter(0, output, r / 2);
    return output;
  }

  double position() const { return position_; }

private:
  struct Section {
    std::array<double, 2> x1 = {}, x2 = {}, y1 = {}, y2 = {};
  };

  ResamplerModel(double source_rate) : source_rate_(source_rate) {}

  double carry(double in) const { return in == source_rate_ ? position_ : 0.0; }

  void filter_down(Frames &input, double r) {
    for (int s = 0; s < 8; ++s) {
      filter(static_cast<std::size_t>(s), input, 1 / (2 * r));
      if (r / std::pow(2.0, s + 1) < 1.1) break;
    }
  }

  Frames interpolate(const Frames &input, std::int64_t frames, double r) const {
    Frames s = history_;
    s.insert(s.end(), input.begin(), input.end());
    if (input.empty()) s.push_back(s.back());
    Frames output;
    for (std::int64_t i = 0; i < frames; ++i) {
      const double t = position_ + static_cast<double>(i) * r;
      const double j = std::max(0.0, std::floor(t));
      const double f = t - j;
      const auto at = static_cast<std::size_t>(j);
      std::array<double, 2> frame;
      for (std::size_t c = 0; c < 2; ++c) {
        const double a = s[at][c], b = s[at + 1][c], cc = s[at + 2][c], d = s[at + 3][c];
        frame[c] = ((b - cc) * 3 + d - a) * (f * f * f / 6) + (a - b - (b - cc)) * (f * f / 2) +
                   ((cc - (b - cc)) * 3 - 2 * a - d) * (f / 6) + b;
      }
      output.push_back(frame);
    }
    return output;
  }

  void filter(std::size_t section, Frames &frames, double cutoff) {
    const auto narrow = [](double value) { return static_cast<double>(static_cast<float>(value)); };
    const double w = 2 * std::numbers::pi * narrow(cutoff), c = std::cos(w);
    const double alpha = std::sin(w) / 1.6, g = 1 + alpha;
    const double b0 = narrow((1 - c) / 2 / g), b1 = narrow((1 - c) / g);
    const double a1 = narrow(-2 * c / g), a2 = narrow((1 - alpha) / g);
    Section &s = sections_[section];
    for (auto &frame : frames) {
      for (std::size_t i = 0; i < 2; ++i) {
        const double x = frame[i];
        const double y = b1 * s.x1[i] + (s.x2[i] + x) * b0 - a2 * s.y2[i] - a1 * s.y1[i];
        s.x2[i] = std::exchange(s.x1[i], x);
        s.y2[i] = std::exchange(s.y1[i], y);
        frame[i] = y;
      }
    }
  }

  double source_rate_ = 44100.0;
  double position_ = 0.0;
  Frames history_ = Frames(3);
  std::array<Section, 8> sections_ = {};

public:
  ResamplerModel() = default;
};

}  // namespace auspool::testing
