// Pure tones, and how much of one is left in a signal: the measure of converters.
#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>
#include <span>
#include <vector>

namespace auspool::testing {

// sin(2 pi hertz i / rate) for `count` samples from `first` on, with the phase exact to the last bits wherever it is.
template <typename Sample>
std::vector<Sample> tone(double hertz, double rate, std::size_t count, double amplitude = 1.0) {
  std::vector<Sample> samples(count);
  for (std::size_t i = 0; i < count; ++i) {
    const long double turns = static_cast<long double>(hertz) / static_cast<long double>(rate) * i;
    const auto part = static_cast<double>(turns - std::floor(turns));
    samples[i] = static_cast<Sample>(amplitude * std::sin(2 * std::numbers::pi * part));
  }
  return samples;
}

struct ToneFit {
  double amplitude;          // of the tone
  double delay;              // of the tone, in seconds, modulo its period
  std::vector<double> rest;  // all else
};

// Takes the tone of `hertz` out of samples at `rate`, the first of which is number `first` of its signal, by least
// squares. It needs some periods.
template <typename Sample>
ToneFit fit_tone(std::span<const Sample> samples, std::size_t first, double hertz, double rate) {
  const std::size_t count = samples.size();
  std::vector<double> sines(count), cosines(count);
  double ss = 0, sc = 0, cc = 0, xs = 0, xc = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const long double turns = static_cast<long double>(hertz) / static_cast<long double>(rate) * (first + i);
    const double angle = 2 * std::numbers::pi * static_cast<double>(turns - std::floor(turns));
    const double s = sines[i] = std::sin(angle), c = cosines[i] = std::cos(angle);
    const double x = static_cast<double>(samples[i]);
    ss += s * s, sc += s * c, cc += c * c, xs += x * s, xc += x * c;
  }
  const double determinant = ss * cc - sc * sc;
  const double a = (xs * cc - xc * sc) / determinant;
  const double b = (xc * ss - xs * sc) / determinant;
  ToneFit fit = {std::hypot(a, b), -std::atan2(b, a) / (2 * std::numbers::pi * hertz), std::vector<double>(count)};
  for (std::size_t i = 0; i < count; ++i) {
    fit.rest[i] = static_cast<double>(samples[i]) - a * sines[i] - b * cosines[i];
  }
  return fit;
}

// The amplitude of a tone with the power of the samples.
template <typename Sample>
double amplitude_of(std::span<const Sample> samples) {
  double power = 0;
  for (const Sample sample : samples) power += static_cast<double>(sample) * static_cast<double>(sample);
  return std::sqrt(2 * power / static_cast<double>(samples.size()));
}

// A window under which the peak of a tone between two bins of a spectrum is as high as on one.
void apply_flat_top(std::span<double> samples);

// The amplitude of the strongest tone, wherever it is, to a hundredth of a decibel.
double strongest_tone(std::span<const double> samples);

inline double decibels(double amplitude) {
  return 20 * std::log10(amplitude);
}

}  // namespace auspool::testing
