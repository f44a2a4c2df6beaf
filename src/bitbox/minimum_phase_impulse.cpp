#include "bitbox/minimum_phase_impulse.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "platform/fft.h"

namespace auspool {
namespace {

constexpr int kLog2Size = 12;
constexpr std::size_t kSize = std::size_t{1} << kLog2Size;
constexpr std::size_t kHalf = kSize / 2;

using Values = std::vector<double>;

// Doubles the terms of positive time and clears those of negative time. Time 0, and the farthest term, which is both,
// stay.
void fold(Values &cepstrum) {
  for (std::size_t i = 1; i < kHalf; ++i) cepstrum[i] *= 2;
  std::fill(cepstrum.begin() + kHalf + 1, cepstrum.end(), 0.0);
}

void exponentiate(Values &spectrum) {
  double *real = spectrum.data();
  double *imaginary = real + kHalf;
  real[0] = std::exp(real[0]);
  imaginary[0] = std::exp(imaginary[0]);  // half the sample rate, which is real
  for (std::size_t i = 1; i < kHalf; ++i) {
    const double magnitude = std::exp(real[i]);
    const double phase = imaginary[i];
    real[i] = magnitude * std::cos(phase);
    imaginary[i] = magnitude * std::sin(phase);
  }
}

}  // namespace

void minimum_phase_impulse(float *magnitudes, std::int32_t length) {
  static_assert(kMagnitudes == kHalf + 1);
  const RealFft<double> fft(kLog2Size);
  Values spectrum(kSize), sequence(kSize), work(kSize);
  for (std::size_t i = 0; i < kHalf; ++i) spectrum[i] = std::log(static_cast<double>(magnitudes[i]));
  spectrum[kHalf] = std::log(static_cast<double>(magnitudes[kHalf]));  // packed beside frequency 0
  fft.inverse(spectrum.data(), sequence.data(), work.data());
  for (double &value : sequence) value /= kSize;
  fold(sequence);
  fft.forward(sequence.data(), spectrum.data(), work.data());
  for (double &value : spectrum) value /= 2;
  exponentiate(spectrum);
  fft.inverse(spectrum.data(), sequence.data(), work.data());
  for (std::int32_t i = 0; i < length; ++i)
    magnitudes[i] = static_cast<float>(sequence[static_cast<std::size_t>(i)] / kSize);
}

}  // namespace auspool
