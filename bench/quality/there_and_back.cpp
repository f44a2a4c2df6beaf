#include "quality/there_and_back.h"

#include <soxr.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "quality/chain.h"
#include "quality/material.h"
#include "quality/residual.h"

namespace quality {
namespace {

using Samples = std::vector<double>;

constexpr double kOther = 44100;
constexpr double kFlat = 10000;  // hertz: beyond, soxr's pass band falls by up to a hundredth of a decibel on purpose

struct Whole {
  std::string name;
  std::function<Samples(const Samples &signal, double in, double out)> convert;
};

Samples convert_by_soxr(const Samples &signal, double in, double out, unsigned long recipe) {
  const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
  const soxr_quality_spec_t quality = soxr_quality_spec(recipe, 0);
  Samples made(static_cast<std::size_t>(std::lround(static_cast<double>(signal.size()) * out / in)));
  soxr_oneshot(in, out, 1, signal.data(), signal.size(), nullptr, made.data(), made.size(), nullptr, &io, &quality,
               nullptr);
  return made;
}

Whole by_soxr(const char *name, unsigned long recipe) {
  return {name, [=](const Samples &signal, double in, double out) { return convert_by_soxr(signal, in, out, recipe); }};
}

Whole by_chain(const char *name, int quality) {
  return {name, [=](const Samples &signal, double in, double out) { return convert_whole(quality, in, out, signal); }};
}

struct Trip {
  Samples there;
  Samples back;
};

Trip travel(const Whole &converter, const Samples &signal) {
  auto there = converter.convert(signal, kMaterialRate, kOther);
  auto back = converter.convert(there, kOther, kMaterialRate);
  return {std::move(there), std::move(back)};
}

void print_row(const Whole &converter, const Material &material, const Trip &peer) {
  const Trip trip = travel(converter, material.samples);
  const Residual lost = residual(material.samples, trip.back, kMaterialRate, kFlat);
  const Residual back = residual(peer.back, trip.back, kMaterialRate, kFlat);
  const Residual there = residual(peer.there, trip.there, kOther, kFlat);
  std::printf("| %s | %s |", material.name.c_str(), converter.name.c_str());
  for (const Residual &each : {lost, back, there}) std::printf(" %.1f | %.1f |", each.within, each.whole);
  std::printf("\n");
}

}  // namespace

void print_there_and_back() {
  const Whole peer = by_soxr("soxr 32 bits, steep", SOXR_32_BITQ | SOXR_STEEP_FILTER);
  const Whole converters[] = {by_chain("auspool RealTime", 0),      by_chain("auspool Normal", 1),
                              by_chain("auspool High", 2),          by_chain("auspool VeryHigh", 3),
                              by_chain("auspool UltraHigh", 4),     by_soxr("soxr very high", SOXR_VHQ),
                              by_soxr("soxr 32 bits", SOXR_32_BITQ)};
  std::printf(
      "| dB | | back from the original: up to 10 kHz | all | back from soxr's: up to 10 kHz | all "
      "| there from soxr's: up to 10 kHz | all |\n|---|---|---|---|---|---|---|---|\n");
  for (const Material &material : all_material()) {
    const Trip best = travel(peer, material.samples);
    for (const Whole &converter : converters) print_row(converter, material, best);
    const Residual lost = residual(material.samples, best.back, kMaterialRate, kFlat);
    std::printf("| %s | %s | %.1f | %.1f | | | | |\n", material.name.c_str(), peer.name.c_str(), lost.within,
                lost.whole);
  }
}

}  // namespace quality
