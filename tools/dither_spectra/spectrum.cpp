#include "dither_spectra/spectrum.h"

#include <cmath>
#include <complex>
#include <numbers>

#include "platform/fft.h"

namespace auspool {

std::vector<double> power_spectrum(const std::vector<double> &samples) {
  const RealFft<double> fft(kLog2Segment);
  std::vector<double> windowed(kSegment), spectrum(kSegment), work(kSegment), power(kSegment / 2);
  double window_power = 0;
  std::size_t segments = 0;
  for (std::size_t at = 0; at + kSegment <= samples.size(); at += kSegment / 2, ++segments) {
    window_power = 0;
    for (std::size_t i = 0; i < kSegment; ++i) {
      const double window = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * static_cast<double>(i) / kSegment);
      window_power += window * window;
      windowed[i] = samples[at + i] * window;
    }
    fft.forward(windowed.data(), spectrum.data(), work.data());
    for (std::size_t i = 1; i < kSegment / 2; ++i) {
      power[i] += (spectrum[i] * spectrum[i] + spectrum[i + kSegment / 2] * spectrum[i + kSegment / 2]) / 4;
    }
  }
  for (double &value : power) value /= window_power * static_cast<double>(segments);
  return power;
}

std::vector<double> added_noise(bitbox_dither &dither, std::size_t frames) {
  std::vector<double> before(frames);
  for (std::size_t i = 0; i < frames; ++i) before[i] = 0.1 * std::sin(0.1425 * static_cast<double>(i));
  std::vector<double> after = before;
  bitbox_dither_ip(&dither, 0, 1, after.data(), 1, static_cast<std::int32_t>(frames));
  for (std::size_t i = 0; i < frames; ++i) {
    const double code = after[i] * dither.scale;
    after[i] = (dither.is_shaped() ? code : std::rint(code)) - before[i] * dither.scale;
  }
  return after;
}

double designed_power(const bitbox_dither &dither, double angle) {
  std::complex<double> zeros = 1, poles = 1;
  for (int k = 0; k < dither.order; ++k) {
    const auto turn = std::polar(1.0, -angle * (k + 1));
    const double b = dither.poles ? static_cast<double>(dither.poles[static_cast<std::size_t>(k)]) : 0;
    poles += b * turn;
    zeros += (b - static_cast<double>(dither.zeros[static_cast<std::size_t>(k)])) * turn;
  }
  return std::norm(zeros / poles);
}

}  // namespace auspool
