// A plain model of the spectrum meter in double: a Fourier sum for each bin, and the rules of levels one after another.
#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace auspool::testing {

class SpectrumModel {
public:
  explicit SpectrumModel(std::size_t width) : half_(width), levels_(width, -120.0) {
    const auto size = static_cast<double>(2 * width);
    for (std::size_t i = 0; i < 2 * width; ++i) {
      const auto n = static_cast<double>(i);
      window_.push_back(0.25 * (1 - std::cos(2 * std::numbers::pi * n / (size - 1))));
      turns_.push_back(std::polar(1.0, -2 * std::numbers::pi * n / size));
    }
  }

  void process(const std::vector<float> &left, const std::vector<float> &right) {
    if (left.empty()) return;
    for (std::size_t i = 0; i < left.size(); ++i) {
      samples_.push_back(static_cast<double>(left[i]) + static_cast<double>(right[i]));
    }
    std::vector<double> powers(half_);
    int passes = 0;
    for (; samples_.size() >= 2 * half_; ++passes) {
      for (std::size_t k = 0; k < half_; ++k) powers[k] += power(k);
      samples_.erase(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(half_));
    }
    if (passes > 0) update(powers, passes);
  }

  std::vector<double> read() {
    std::vector<double> values;
    for (const double level : levels_) values.push_back(fallen(level));
    if (seen_ == updates_) levels_ = values;
    seen_ = updates_;
    return values;
  }

  double now = 1.5e9;

private:
  // Of bin k, of the samples under the window: twice the sum, over half their number.
  double power(std::size_t k) const {
    std::complex<double> sum = 0;
    for (std::size_t i = 0; i < window_.size(); ++i) sum += samples_[i] * window_[i] * turns_[i * k % turns_.size()];
    const double amplitude = 2 * std::abs(sum) / static_cast<double>(half_) * (k == 0 ? 0.5 : 1);
    return std::min(1.0, amplitude * amplitude);
  }

  double fallen(double level) const { return level < -120 ? -120 : level - 20 * (now - last_time_); }

  void update(const std::vector<double> &powers, int passes) {
    for (std::size_t k = 0; k < half_; ++k) {
      const double mean = powers[k] / passes;
      levels_[k] = std::max(fallen(levels_[k]), mean < 1e-8 ? -120 : 10 * std::log10(mean));
    }
    last_time_ = now;
    ++updates_;
  }

  std::size_t half_;
  std::vector<double> samples_, levels_, window_;
  std::vector<std::complex<double>> turns_;
  double last_time_ = 0;
  unsigned updates_ = 0, seen_ = 0;
};

}  // namespace auspool::testing
