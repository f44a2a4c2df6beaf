#include "support/tone.h"

#include <algorithm>
#include <bit>

#include "platform/fft.h"

namespace auspool::testing {

void apply_flat_top(std::span<double> samples) {
  constexpr double kTerms[] = {1.0, -1.93, 1.29, -0.388, 0.028};
  const double turn = 2 * std::numbers::pi / static_cast<double>(samples.size());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    double window = 0;
    for (int k = 0; k < 5; ++k) window += kTerms[k] * std::cos(turn * k * static_cast<double>(i));
    samples[i] *= window;
  }
}

double strongest_tone(std::span<const double> samples) {
  const int log2_size = static_cast<int>(std::bit_width(samples.size())) - 1;
  const RealFft<double> fft(log2_size);
  const std::size_t size = fft.size();
  std::vector<double> windowed(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(size));
  apply_flat_top(windowed);
  std::vector<double> spectrum(size), work(size);
  fft.forward(windowed.data(), spectrum.data(), work.data());
  double strongest = 0;
  for (std::size_t k = 1; k < size / 2; ++k) {
    strongest = std::max(strongest, std::hypot(spectrum[k], spectrum[size / 2 + k]));
  }
  return strongest / static_cast<double>(size);  // the transform gives twice the spectrum
}

}  // namespace auspool::testing
