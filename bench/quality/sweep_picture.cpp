#include "quality/sweep_picture.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <span>
#include <vector>

#include "platform/fft.h"
#include "quality/chain.h"
#include "quality/heat_map.h"
#include "support/tone.h"

namespace quality {
namespace {

constexpr double kIn = 96000, kOut = 44100, kLowest = 20, kHighest = kIn / 2;
constexpr double kSeconds = 16, kFade = 0.02;
constexpr int kLog2 = 11, kColumns = 180;
constexpr std::size_t kSize = 1 << kLog2, kRows = 128, kBins = kSize / 2 / kRows;

// A linear sweep at full scale, faded at both ends so that no click hides what the converter leaves.
std::vector<double> sweep() {
  std::vector<double> samples(static_cast<std::size_t>(kSeconds * kIn));
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const long double t = static_cast<long double>(i) / kIn;
    const long double turns = t * (kLowest + (kHighest - kLowest) / kSeconds * t / 2);
    const double fade = std::min({1.0, static_cast<double>(t) / kFade, (kSeconds - static_cast<double>(t)) / kFade});
    const double angle = 2 * std::numbers::pi * static_cast<double>(turns - std::floor(turns));
    samples[i] = (1 - std::cos(std::numbers::pi * fade)) / 2 * std::sin(angle);
  }
  return samples;
}

// Kaiser's, whose own skirt stays below the picture's darkest colour. It adds up to 1, so that a tone has its level.
std::vector<double> window() {
  constexpr double kShape = 22;
  std::vector<double> values(kSize);
  double sum = 0;
  for (std::size_t i = 0; i < kSize; ++i) {
    const double at = 2 * (static_cast<double>(i) + 0.5) / kSize - 1;
    sum += values[i] = std::cyl_bessel_i(0.0, kShape * std::sqrt(1 - at * at));
  }
  for (double &value : values) value /= sum;
  return values;
}

// The strongest bin of each row in the spectrum of samples under the window.
std::vector<double> column(const auspool::RealFft<double> &fft, std::span<const double> samples) {
  static const std::vector<double> kWindow = window();
  std::vector<double> windowed(kSize), spectrum(kSize), work(kSize), rows(kRows);
  std::transform(samples.begin(), samples.end(), kWindow.begin(), windowed.begin(), std::multiplies<>());
  fft.forward(windowed.data(), spectrum.data(), work.data());
  spectrum[kSize / 2] = 0;  // half the rate, which is no part of bin 0
  for (std::size_t k = 0; k < kSize / 2; ++k) {
    rows[k / kBins] = std::max(rows[k / kBins], std::hypot(spectrum[k], spectrum[kSize / 2 + k]));
  }
  for (double &row : rows) row = auspool::testing::decibels(std::max(row, 1e-12));
  return rows;
}

HeatMap spectrogram(const char *title, int quality, const std::vector<double> &input) {
  const auto made = convert_whole(quality, kIn, kOut, input);
  const auspool::RealFft<double> fft(kLog2);
  HeatMap map = {title, {}};
  for (int i = 0; i < kColumns; ++i) {
    const double centre = (i + 0.5) / kColumns * static_cast<double>(made.size());
    const auto first = static_cast<std::size_t>(std::clamp(centre - kSize / 2.0, 0.0, double(made.size() - kSize)));
    map.columns.push_back(column(fft, std::span(made).subspan(first, kSize)));
  }
  return map;
}

}  // namespace

bool draw_sweep(const std::string &path) {
  const auto input = sweep();
  return write_heat_maps(
      path, {"kHz in", 0, kHighest / 1000, 8}, {"kHz out", 0, kOut / 2000, 5},
      {spectrogram("A sweep, 96000 to 44100, Normal", 1, input), spectrogram("UltraHigh", 4, input)});
}

}  // namespace quality
