// Prints what each type of dither adds at each common rate, measured from the running library and as designed:
//
//   tpdf 44100 measured -6.0 -6.1 ...
//   tpdf 44100 designed -6.0 -6.0 ...
//
// in decibels against one squared code, at the middles of 256 bands of equal width from 0 to half the rate.
// tools/draw_dither.py makes pictures and figures of it.
#include <cmath>
#include <cstdio>
#include <memory>
#include <numbers>
#include <numeric>

#include "dither_spectra/spectrum.h"

namespace {

using namespace auspool;

constexpr std::size_t kBands = 256;
constexpr std::size_t kFrames = 300 * kSegment;
constexpr double kWhitePower = 0.25;  // of rounding, a twelfth, and of triangular noise, a sixth

constexpr struct {
  const char *name;
  std::uint32_t type;
} kTypes[] = {{"rpdf", BITBOX_DITHER_RPDF},     {"tpdf", BITBOX_DITHER_TPDF},       {"simp", BITBOX_DITHER_SIMPLE},
              {"ff_f", BITBOX_DITHER_POLES},    {"fwgt", BITBOX_DITHER_F_WEIGHTED}, {"ff-4", BITBOX_DITHER_FLAT_LOW},
              {"ff-6", BITBOX_DITHER_FLAT_MED}, {"ff-8", BITBOX_DITHER_FLAT_HIGH}};

void print(const char *name, int rate, const char *what, const std::vector<double> &powers) {
  std::printf("%s %d %s", name, rate, what);
  for (const double power : powers) std::printf(" %.2f", 10 * std::log10(power));
  std::printf("\n");
}

std::vector<double> measured(bitbox_dither &dither) {
  constexpr std::size_t kBinsPerBand = kSegment / 2 / kBands;
  std::vector<double> noise = added_noise(dither, kFrames);
  const double mean = std::accumulate(noise.begin(), noise.end(), 0.0) / kFrames;  // rectangular noise has one
  for (double &x : noise) x -= mean;
  const std::vector<double> bins = power_spectrum(noise);
  std::vector<double> bands(kBands);
  for (std::size_t i = 1; i < bins.size(); ++i) bands[i / kBinsPerBand] += bins[i];
  for (std::size_t i = 0; i < kBands; ++i) bands[i] /= static_cast<double>(i == 0 ? kBinsPerBand - 1 : kBinsPerBand);
  return bands;
}

std::vector<double> designed(const bitbox_dither &dither) {
  const double white = dither.type == BITBOX_DITHER_RPDF ? 1.0 / 6 : kWhitePower;  // two twelfths
  std::vector<double> bands;
  for (std::size_t i = 0; i < kBands; ++i)
    bands.push_back(white * designed_power(dither, std::numbers::pi * (static_cast<double>(i) + 0.5) / kBands));
  return bands;
}

}  // namespace

int main() {
  for (const int rate : {44100, 48000, 64000, 88200, 96000, 128000, 176400, 192000, 256000, 352800, 384000}) {
    for (const auto &[name, type] : kTypes) {
      const std::unique_ptr<bitbox_dither, void (*)(bitbox_dither *)> dither(
          bitbox_dither_create(16, 1, type, nullptr, static_cast<float>(rate)), bitbox_dither_destroy);
      if (!dither) return 1;
      print(name, rate, "measured", measured(*dither));
      print(name, rate, "designed", designed(*dither));
    }
  }
}
