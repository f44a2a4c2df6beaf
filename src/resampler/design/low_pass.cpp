#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <numbers>

#include "auspool/filter_design.h"
#include "resampler/design/minimum_phase.h"
#include "resampler/design/windows.h"

namespace {

using auspool::Prototype;

// The impulse response of the ideal low-pass, cut to `length` taps.
void ideal_low_pass(double *taps, std::int32_t length, double cutoff) {
  constexpr double kPi = std::numbers::pi;
  const std::int32_t odd = length & 1;
  const std::int32_t half = length >> 1;
  const double offset = odd ? kPi : kPi / 2;
  for (std::int32_t i = 0; i < half; ++i) {
    const double x = i * kPi + offset;
    taps[odd + half + i] = taps[half - 1 - i] = std::sin(x * cutoff) / x;
  }
  if (odd) taps[half] = cutoff;
}

std::int32_t first_peak(const double *taps, std::int32_t length) {
  std::int32_t i = 0;
  while (i + 1 < length && std::abs(taps[i + 1]) >= std::abs(taps[i])) ++i;
  return i;
}

}  // namespace

std::uint32_t kaiser_estimate(double *beta, double *cutoff, double pass_edge, double stop_edge, double pass_ripple,
                              double stop_ripple) {
  constexpr double kTapsPerDecibel = 7.1785392134526775;  // 2.285 times pi
  constexpr double kLongest = 2147483646.0;
  const double attenuation = std::fmax(std::abs(20 * std::log10(pass_ripple)), std::abs(20 * std::log10(stop_ripple)));
  const double width = std::abs(stop_edge - pass_edge);
  if (width == 0.0) return AU_NO_FILTER_LENGTH;
  const double taps = std::ceil((attenuation - 7.95) / (width * kTapsPerDecibel));
  if (!(taps <= kLongest)) return AU_NO_FILTER_LENGTH;
  *beta = (attenuation - 8.7) * 0.1102;
  if (cutoff) *cutoff = (pass_edge + stop_edge) * 0.5;
  return (static_cast<std::uint32_t>(std::fmax(taps, 0.0)) | 1) + 1;
}

double *create_lp_filter(std::int32_t length, std::int32_t window, std::int32_t minimum_phase, std::int32_t *peak_index,
                         double gain, double cutoff, double beta) {
  if (length < 1) return nullptr;
  const std::int32_t designed = minimum_phase ? (length - 1) | 1 : length;
  Prototype taps(static_cast<double *>(std::malloc(static_cast<std::size_t>(length) * sizeof(double))));
  if (!taps) return nullptr;
  ideal_low_pass(taps.get(), designed, cutoff);
  auspool::apply_window(taps.get(), designed, window, gain, beta);
  if (!minimum_phase) return taps.release();

  if (!auspool::make_minimum_phase(taps.get(), designed)) return nullptr;
  if (designed < length) taps.get()[length - 1] = 0.0;
  if (peak_index) *peak_index = first_peak(taps.get(), length);
  return taps.release();
}
