#include "resampler/design/minimum_phase.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <new>
#include <vector>

#include "platform/fft.h"
#include "platform/vector.h"

namespace auspool {
namespace {

// A magnitude of 0 has no logarithm, and one such bin would spoil every tap. -400 dB is below all that a design
// reaches.
constexpr double kFloor = 1e-20;

// The logarithm of the magnitudes of a packed spectrum, in place.
void take_log_magnitudes(double *spectrum, std::size_t half) {
  const double dc = std::abs(spectrum[0]);
  const double nyquist = std::abs(spectrum[half]);
  spectrum[0] = std::log(std::max(dc, kFloor));
  // In single precision, as the design has always been: a different last digit moves every tap.
  spectrum[half] = static_cast<double>(logf(static_cast<float>(std::max(nyquist, kFloor))));
  for (std::size_t k = 1; k < half; ++k) {
    const double magnitude = std::hypot(spectrum[k], spectrum[half + k]);
    spectrum[k] = std::log(std::max(magnitude, kFloor));
    spectrum[half + k] = 0.0;
  }
}

// Folds the second half of the cepstrum onto the first, which makes its filter causal. Half of what is usual, because
// the transform back doubles; 1/F undoes the scaling of the transform that gave it.
void fold(double *cepstrum, std::size_t size) {
  const std::size_t half = size / 2;
  const double scale = 1.0 / static_cast<double>(size);
  cepstrum[0] *= scale / 2;
  for (std::size_t i = 1; i < half; ++i) cepstrum[i] *= scale;
  cepstrum[half] *= scale / 2;
  std::fill(cepstrum + half + 1, cepstrum + size, 0.0);
}

// The complex exponential of a packed spectrum over F, in place.
void exponentiate(double *spectrum, std::size_t size) {
  const std::size_t half = size / 2;
  const double scale = 1.0 / static_cast<double>(size);
  spectrum[0] = std::exp(spectrum[0]) * scale;
  spectrum[half] = std::exp(spectrum[half]) * scale;
  for (std::size_t k = 1; k < half; ++k) {
    const double magnitude = std::exp(spectrum[k]) * scale;
    const double phase = spectrum[half + k];
    spectrum[k] = magnitude * std::cos(phase);
    spectrum[half + k] = magnitude * std::sin(phase);
  }
}

// A buffer for each of a sequence, its spectrum and the transform's work.
void convert(double *taps, std::size_t length, const RealFft<double> &fft, std::vector<double> &buffers) {
  const std::size_t size = fft.size();
  double *sequence = buffers.data();
  double *spectrum = sequence + size;
  double *work = spectrum + size;
  std::copy_n(taps, length, sequence);
  fft.forward(sequence, spectrum, work);
  vector::scale(spectrum, 0.5, spectrum, size);
  take_log_magnitudes(spectrum, size / 2);
  fft.inverse(spectrum, sequence, work);
  fold(sequence, size);
  fft.forward(sequence, spectrum, work);
  exponentiate(spectrum, size);
  fft.inverse(spectrum, sequence, work);
  std::copy_n(sequence, length, taps);
}

}  // namespace

bool make_minimum_phase(double *taps, std::int32_t length) {
  const auto count = static_cast<std::size_t>(length);
  const std::size_t size = std::bit_ceil(2 * count);  // so half of it, which the folding leaves, always holds the taps
  const int log2_size = std::countr_zero(size);
  if (log2_size > RealFft<double>::kMaxLog2) return false;
  try {
    const RealFft<double> fft(log2_size);
    std::vector<double> buffers(3 * size);
    convert(taps, count, fft, buffers);
    return true;
  } catch (const std::bad_alloc &) {
    return false;
  }
}

}  // namespace auspool
