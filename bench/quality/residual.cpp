#include "quality/residual.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <numbers>

#include "platform/fft.h"

namespace quality {
namespace {

using Spectrum = std::vector<std::complex<double>>;

Spectrum spectrum_of(std::vector<double> samples, int log2_size) {
  const auspool::RealFft<double> fft(log2_size);
  const std::size_t half = fft.size() / 2;
  samples.resize(fft.size());
  std::vector<double> packed(fft.size()), work(fft.size());
  fft.forward(samples.data(), packed.data(), work.data());
  Spectrum spectrum(half);
  for (std::size_t k = 1; k < half; ++k) spectrum[k] = {packed[k], packed[half + k]};
  spectrum[0] = packed[0];
  return spectrum;
}

// `other` earlier by `delay`, in radians a bin.
std::complex<double> earlier(const Spectrum &other, double delay, std::size_t k) {
  return other[k] * std::polar(1.0, delay * static_cast<double>(k));
}

// One step of Gauss and Newton towards the delay that leaves the least difference in `bins`.
double better(const Spectrum &reference, const Spectrum &other, double delay, std::size_t bins) {
  double slope = 0, weight = 0;
  for (std::size_t k = 1; k < bins; ++k) {
    const auto moved = earlier(other, delay, k);
    const double bin = static_cast<double>(k);
    slope += bin * std::imag(std::conj(moved) * reference[k]);
    weight += bin * bin * std::norm(moved);
  }
  return delay + slope / weight;
}

// From low frequencies, where a sample is a small part of a turn, up to `bins`.
double find_delay(const Spectrum &reference, const Spectrum &other, std::size_t bins) {
  double delay = 0;
  for (const std::size_t up_to : {bins / 16, bins / 4, bins}) {
    for (int i = 0; i < 8; ++i) delay = better(reference, other, delay, up_to);
  }
  return delay;
}

}  // namespace

Residual residual(const std::vector<double> &reference, const std::vector<double> &other, double rate, double edge) {
  const std::size_t longest = std::max(reference.size(), other.size());
  const int log2_size = static_cast<int>(std::bit_width(longest - 1));
  const Spectrum a = spectrum_of(reference, log2_size), b = spectrum_of(other, log2_size);
  const auto bins = static_cast<std::size_t>(edge / rate * 2 * static_cast<double>(a.size()));
  const double delay = find_delay(a, b, bins);
  double signal = 0, within = 0, beyond = 0;
  for (std::size_t k = 0; k < a.size(); ++k) {
    signal += std::norm(a[k]);
    (k < bins ? within : beyond) += std::norm(a[k] - earlier(b, delay, k));
  }
  return {10 * std::log10(within / signal), 10 * std::log10((within + beyond) / signal)};
}

}  // namespace quality
