#include "quality/pictures.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

#include "platform/fft.h"
#include "quality/chain.h"
#include "quality/plot.h"
#include "quality/sweep_picture.h"
#include "support/tone.h"

namespace quality {
namespace {

using namespace auspool::testing;

constexpr const char *kNames[] = {"RealTime", "Normal", "High", "VeryHigh", "UltraHigh"};
constexpr double kFloor = -220;

double level_in_decibels(double amplitude) {
  return amplitude > 0 ? std::max(decibels(amplitude), kFloor) : kFloor;
}

// The strongest tone in the output for tones from `least` to `most` hertz.
std::vector<Point> response(int quality, double in, double out, double least, double most) {
  constexpr int kPoints = 240;
  constexpr std::size_t kMeasured = 4096;
  const Chain r = make_chain(quality, in, out);
  const auto inputs = static_cast<std::size_t>(2.5 * raesampler_padding(r.get()) + 2 * kMeasured * in / out);
  std::vector<Point> points;
  for (int i = 0; i <= kPoints; ++i) {
    const double hertz = least + (most - least) * (i + 0.01) / (kPoints + 0.02);
    raesampler_reset(r.get());
    const auto made = convert(r.get(), quality, tone<double>(hertz, in, inputs));
    const auto settled = std::span<const double>(made).last(kMeasured);
    points.push_back({hertz / 1000, level_in_decibels(strongest_tone(settled))});
  }
  return points;
}

bool draw_response(const std::string &path) {
  Plot plot("What is left of a tone, 48000 to 44100", {"kHz", 0, 24, 2}, {"dB", kFloor, 20, 20});
  for (int q = 0; q < 5; ++q) plot.add_curve(kNames[q], response(q, 48000, 44100, 30, 24000));
  return plot.write(path);
}

bool draw_pass_band(const std::string &path) {
  Plot plot("The edge of the band, 48000 to 44100", {"kHz", 18, 22.5, 0.5}, {"dB", -7, 1, 1});
  for (int q = 0; q < 5; ++q) plot.add_curve(kNames[q], response(q, 48000, 44100, 18000, 22500));
  return plot.write(path);
}

bool draw_spectrum(const std::string &path) {
  constexpr int kLog2 = 15;
  constexpr std::size_t kSize = 1 << kLog2;
  Plot plot("A tone of 1 kHz, 44100 to 48000: spectrum", {"kHz", 0, 24, 2}, {"dB", kFloor, 0, 20});
  const auspool::RealFft<double> fft(kLog2);
  for (int q = 0; q < 5; ++q) {
    const Chain r = make_chain(q, 44100, 48000);
    auto made = convert(r.get(), q, tone<double>(1000, 44100, 6 * kSize));
    made.erase(made.begin(), made.end() - kSize);
    std::vector<double> spectrum(kSize), work(kSize);
    apply_flat_top(made);
    fft.forward(made.data(), spectrum.data(), work.data());
    std::vector<Point> points;
    for (std::size_t k = 1; k < kSize / 2; k += 32) {  // the strongest of each 32 bins
      double strongest = 0;
      for (std::size_t j = k; j < std::min(k + 32, kSize / 2); ++j) {
        strongest = std::max(strongest, std::hypot(spectrum[j], spectrum[kSize / 2 + j]) / kSize);
      }
      points.push_back({48.0 * static_cast<double>(k + 16) / kSize, level_in_decibels(strongest)});
    }
    plot.add_curve(kNames[q], points);
  }
  return plot.write(path);
}

bool draw_impulse(const std::string &path) {
  constexpr std::size_t kAt = 2000, kBefore = 60, kBehind = 120;
  Plot plot("An impulse, 44100 to 48000, High", {"output samples", -60, 120, 20}, {"", -0.4, 1.2, 0.2});
  for (const int flags : {0, static_cast<int>(RAESAMPLER_FLAG_MINIMUM_PHASE)}) {
    const Chain r = make_chain(RaesamplerQualityHigh | flags, 44100, 48000);
    std::vector<double> in(20000);
    in[kAt] = 1;
    const auto made = convert(r.get(), RaesamplerQualityHigh, in);
    const auto centre = static_cast<std::size_t>(std::lround(kAt * 48.0 / 44.1));
    std::vector<Point> points;
    for (std::size_t i = centre - kBefore; i <= centre + kBehind; ++i) {
      points.push_back({static_cast<double>(i) - static_cast<double>(centre), made[i]});
    }
    plot.add_curve(flags ? "minimum phase" : "linear phase", points);
  }
  return plot.write(path);
}

}  // namespace

bool draw_pictures(const std::string &folder) {
  return draw_response(folder + "/resampling-response.svg") && draw_pass_band(folder + "/resampling-edge.svg") &&
         draw_spectrum(folder + "/resampling-spectrum.svg") && draw_impulse(folder + "/resampling-impulse.svg") &&
         draw_sweep(folder + "/resampling-sweep.svg");
}

}  // namespace quality
