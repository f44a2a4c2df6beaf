#include "quality/measure.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <span>

#include "support/tone.h"

namespace quality {
namespace {

using namespace auspool::testing;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kMeasured = 8192;  // output frames

double seconds_since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// Feeds a signal to a fresh converter; the first channel of what comes out.
std::vector<float> run(const Kind &kind, const Rates &rates, const std::vector<float> &signal) {
  const auto converter = kind.make(rates);
  std::vector<float> out;
  Block block;
  for (std::size_t at = 0; at < signal.size(); at += kFrames) {
    block.fill(std::span(signal).subspan(at, std::min<std::size_t>(kFrames, signal.size() - at)));
    const int made = converter->convert(block);
    for (int i = 0; i < made; ++i) out.push_back(converter->first_channel()[i * converter->stride()]);
  }
  return out;
}

double level_of(const Kind &kind, const Rates &rates, double hertz) {
  const auto out = output_for_tone(kind, rates, hertz);
  return decibels(fit_tone(std::span<const float>(out), 0, hertz, rates.out).amplitude);
}

double find_pass_band(const Kind &kind, const Rates &rates) {
  const double nyquist = std::min(rates.in, rates.out) / 2;
  double flat = 0.5, falling = 1.0;
  while (falling - flat > 0.001) {
    const double middle = (flat + falling) / 2;
    (std::abs(level_of(kind, rates, middle * nyquist)) < 0.1 ? flat : falling) = middle;
  }
  return flat;
}

double distance_of_images(const Kind &kind, const Rates &rates, double hertz) {
  const auto out = output_for_tone(kind, rates, hertz);
  const ToneFit fit = fit_tone(std::span<const float>(out), 0, hertz, rates.out);
  return decibels(fit.amplitude / strongest_tone(fit.rest));
}

double distance_of_alias(const Kind &kind, const Rates &rates, double hertz) {
  const auto out = output_for_tone(kind, rates, hertz);
  return -decibels(strongest_tone(std::vector<double>(out.begin(), out.end())));
}

}  // namespace

std::vector<float> output_for_tone(const Kind &kind, const Rates &rates, double hertz) {
  constexpr double kSettled = 0.6;  // seconds: longer than the filters of any converter here
  const double needed = kSettled * rates.in + 1.5 * kMeasured * rates.in / rates.out;
  const auto inputs = (static_cast<std::size_t>(needed) / kFrames + 1) * kFrames;
  auto out = run(kind, rates, tone<float>(hertz, rates.in, inputs));
  out.erase(out.begin(), out.end() - static_cast<std::ptrdiff_t>(kMeasured));
  return out;
}

Figures measure_quality(const Kind &kind, const Rates &rates) {
  if (!kind.make(rates)) return kNone;
  Figures figures = {find_pass_band(kind, rates), 1e9, 0};
  const double nyquist = std::min(rates.in, rates.out) / 2;
  const double edge = figures.pass_band * nyquist;
  for (const double part : {0.0631, 0.487, 0.8317, 0.999}) {
    figures.rejection = std::min(figures.rejection, distance_of_images(kind, rates, part * edge));
  }
  const double lowest = rates.out - edge;  // whose alias is the edge
  const double beyond = rates.in / 2 - lowest;
  for (const double part : {0.0, 0.2713, 0.7419, 0.9817}) {
    if (beyond < 100) break;
    figures.rejection = std::min(figures.rejection, distance_of_alias(kind, rates, lowest + part * beyond));
  }
  return figures;
}

double measure_speed(const Kind &kind, const Rates &rates) {
  constexpr int kTries = 5;
  constexpr double kSeconds = 0.04;
  const auto converter = kind.make(rates);
  if (!converter) return kNone.speed;
  Block block;
  block.fill(tone<float>(997, rates.in, kFrames));
  double best = 0;
  for (int i = 0; i < kTries; ++i) {
    double frames = 0, seconds = 0;
    for (const auto start = Clock::now(); seconds < kSeconds; seconds = seconds_since(start)) {
      for (int k = 0; k < 8; ++k, frames += kFrames) converter->convert(block);
    }
    best = std::max(best, frames / seconds / 1e6);
  }
  return best;
}

double measure_creation(const Kind &kind, const Rates &rates) {
  double best = 1e12;
  for (int i = 0; i < 5; ++i) {
    const auto start = Clock::now();
    const auto converter = kind.make(rates);
    best = std::min(best, seconds_since(start) * 1e6);
    if (best > 1e5) break;
  }
  return best;
}

}  // namespace quality
