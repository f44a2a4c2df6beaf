// The rate follower in its plainest form: one frame after the other, a copy of everything in front of it, counts found
// by stepping. Slow, and the reference for what `ausampler` must give.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace auspool::testing {

class SamplerModel {
public:
  using Channels = std::vector<std::vector<float>>;  // a buffer a channel

  explicit SamplerModel(std::size_t channels) : channels_(channels) {}

  std::int64_t frames_in(std::int64_t frames_out, double rate_in, double rate_out) const {
    if (frames_out == 0 || rate_in == rate_out) return frames_out;
    const double step = rate_in / rate_out;
    const double first = step * (1 - fraction) + 1;
    const double n = static_cast<double>(frames_out);
    for (double k = 0; k < n; ++k) {
      if (std::floor(first + step * k) >= 4) {
        return static_cast<std::int64_t>(std::max(std::floor(first - 1 + step * (n - 1)), 0.0)) + 1;
      }
    }
    return std::max(static_cast<std::int64_t>(std::floor(first + step * (n - 1))) + 1, std::int64_t{0});
  }

  std::int64_t frames_out(std::int64_t frames_in_, double rate_in, double rate_out) const {
    if (frames_in_ == 0 || rate_in == rate_out) return frames_in_;
    const double total = (rate_out / rate_in) * static_cast<double>(frames_in_) + fraction;
    auto n = static_cast<std::int64_t>(std::floor(total));
    while (n > 0 && frames_in(n, rate_in, rate_out) > frames_in_) --n;
    return std::max(n, std::int64_t{0});
  }

  // `source` holds exactly what the pull takes.
  Channels pull(const Channels &source, std::int64_t frames_out_, double rate_in, double rate_out) {
    const std::int64_t in = frames_in(frames_out_, rate_in, rate_out);
    const double left = fraction + (rate_out / rate_in) * static_cast<double>(in) - static_cast<double>(frames_out_);
    return resample(source, frames_out_, rate_in, rate_out, left);
  }

  Channels push(const Channels &source, std::int64_t frames_in_, double rate_in, double rate_out) {
    const std::int64_t out = frames_out(frames_in_, rate_in, rate_out);
    const double total = (rate_out / rate_in) * static_cast<double>(frames_in_) + fraction;
    return resample(source, out, rate_in, rate_out, total - static_cast<double>(out));
  }

  double fraction = 1.0;

private:
  struct Channel {
    std::array<float, 4> history = {};
    float x1 = 0, x2 = 0, y1 = 0, y2 = 0;
  };

  Channels resample(const Channels &source, std::int64_t frames, double rate_in, double rate_out, double left) {
    Channels result;
    const double step = rate_in / rate_out;
    for (std::size_t c = 0; c < channels_.size(); ++c) {
      std::vector<float> s(channels_[c].history.begin(), channels_[c].history.end());
      s.insert(s.end(), source[c].begin(), source[c].end());
      result.push_back(interpolate(s, frames, step));
      if (step < static_cast<double>(0.95f)) filter(channels_[c], result.back(), step);
      std::copy(s.end() - 4, s.end(), channels_[c].history.begin());
    }
    if (rate_in != rate_out) fraction = left;
    return result;
  }

  std::vector<float> interpolate(const std::vector<float> &s, std::int64_t frames, double step) const {
    const double first = step * (1 - fraction) + 1;
    const auto frames_of_source = static_cast<double>(s.size()) - 4;
    std::vector<float> out;
    bool past_history = false;
    for (std::int64_t k = 0; k < frames; ++k) {
      const double p = first + step * static_cast<double>(k);
      past_history = past_history || !(std::floor(p) >= 0 && std::floor(p) <= 3);
      const double q = (first - 1) + step * static_cast<double>(k);
      const double held = past_history ? std::min(std::max(std::floor(q), 0.0), frames_of_source - 1) + 1
                                       : std::min(std::floor(p), frames_of_source);
      const auto t = static_cast<float>(past_history ? q - (held - 1) : p - held);
      out.push_back(polynomial(s.data() + static_cast<std::size_t>(held), t));
    }
    return out;
  }

  static float polynomial(const float *s, float t) {
    const float a = s[0], b = s[1], c = s[2], d = s[3];
    const float sixth = 1.0f / 6.0f;
    return b + (t * sixth) * (6.0f * c - 3.0f * b - 2.0f * a - d) + (t * t * 0.5f) * (a - 2.0f * b + c) +
           (t * t * t * sixth) * (d + 3.0f * (b - c) - a);
  }

  static void filter(Channel &channel, std::vector<float> &samples, double step) {
    const auto fc = static_cast<float>(step * 0.5);
    const double w = std::numbers::pi * static_cast<double>(fc + fc);
    const double alpha = std::sin(w) / 1.6;
    const double a0 = 1 + alpha;
    const auto b0 = static_cast<float>((1 - std::cos(w)) * 0.5 / a0);
    const auto b1 = static_cast<float>((1 - std::cos(w)) / a0);
    const auto a1 = static_cast<float>(-2 * std::cos(w) / a0);
    const auto a2 = static_cast<float>((1 - alpha) / a0);
    for (float &sample : samples) {
      const float x = sample;
      sample = b0 * (x + channel.x2) + b1 * channel.x1 - a1 * channel.y1 - a2 * channel.y2;
      channel.x2 = std::exchange(channel.x1, x);
      channel.y2 = std::exchange(channel.y1, sample);
    }
  }

  std::vector<Channel> channels_;
};

}  // namespace auspool::testing
