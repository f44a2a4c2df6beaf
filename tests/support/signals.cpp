#include "support/signals.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

namespace auspool::testing {

Samples sine(std::size_t frames, double rate, double hz, double amplitude, double phase) {
  Samples out(frames);
  const double step = 2 * std::numbers::pi * hz / rate;
  for (std::size_t i = 0; i < frames; ++i) {
    out[i] = static_cast<float>(amplitude * std::sin(phase + step * static_cast<double>(i)));
  }
  return out;
}

Samples sweep(std::size_t frames, double rate, double from_hz, double to_hz, double amplitude) {
  Samples out(frames);
  double phase = 0;
  for (std::size_t i = 0; i < frames; ++i) {
    out[i] = static_cast<float>(amplitude * std::sin(phase));
    const double progress = static_cast<double>(i) / static_cast<double>(frames);
    phase += 2 * std::numbers::pi * (from_hz + (to_hz - from_hz) * progress) / rate;
  }
  return out;
}

Samples noise(std::size_t frames, std::uint32_t seed, double amplitude) {
  std::mt19937 engine(seed);
  Samples out(frames);
  for (float &sample : out) {
    sample = static_cast<float>(amplitude * (static_cast<double>(engine()) / 2147483648.0 - 1.0));
  }
  return out;
}

Samples speech_like(std::size_t frames, double rate, std::uint32_t seed) {
  std::mt19937 engine(seed);
  const auto seconds = [&](double low, double high) {
    return static_cast<std::size_t>(rate * (low + (high - low) * static_cast<double>(engine()) / 4294967296.0));
  };
  Samples out(frames, 0.0f);
  for (std::size_t at = 0; at < frames;) {
    const std::size_t length = std::min(seconds(0.08, 0.4), frames - at);
    const Samples voice = noise(length, static_cast<std::uint32_t>(engine()), 0.7);
    for (std::size_t i = 0; i < length; ++i) {
      const double envelope = std::sin(std::numbers::pi * static_cast<double>(i) / static_cast<double>(length));
      out[at + i] = voice[i] * static_cast<float>(envelope);
    }
    at += length + seconds(0.05, 1.2);
  }
  return out;
}

Samples interleave(const Samples &left, const Samples &right) {
  Samples out;
  out.reserve(left.size() * 2);
  for (std::size_t i = 0; i < left.size(); ++i) {
    out.push_back(left[i]);
    out.push_back(right[i]);
  }
  return out;
}

}  // namespace auspool::testing
