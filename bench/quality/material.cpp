#include "quality/material.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <random>

namespace quality {
namespace {

constexpr std::size_t kSilence = static_cast<std::size_t>(kMaterialRate / 2);  // longer than any filter's ringing

// Nothing where the file is missing or is not mono at kMaterialRate.
std::vector<double> recording(const std::string &path) {
  SF_INFO info = {};
  SNDFILE *file = sf_open(path.c_str(), SFM_READ, &info);
  if (!file) return {};
  std::vector<double> samples(info.channels == 1 && info.samplerate == kMaterialRate ? std::size_t(info.frames) : 0);
  samples.resize(
      static_cast<std::size_t>(sf_read_double(file, samples.data(), static_cast<sf_count_t>(samples.size()))));
  sf_close(file);
  return samples;
}

// Spoken by one voice: the recordings that come with ALSA's utilities.
std::vector<double> speech() {
  std::vector<double> all(kSilence);
  for (const char *name : {"Front_Center", "Front_Left", "Front_Right", "Rear_Center", "Rear_Left", "Rear_Right",
                           "Side_Left", "Side_Right"}) {
    const auto samples = recording(std::string("/usr/share/sounds/alsa/") + name + ".wav");
    if (samples.empty()) return {};
    all.insert(all.end(), samples.begin(), samples.end());
  }
  all.resize(all.size() + kSilence);
  return all;
}

// A plucked string from `first` on, whose overtones reach up to 20 kHz and die the sooner the higher they are.
void add_string(std::vector<double> &samples, std::size_t first, double hertz) {
  constexpr double kSeconds = 2;
  const auto count = static_cast<std::size_t>(kSeconds * kMaterialRate);
  for (int overtone = 1; overtone * hertz < 20000; ++overtone) {
    const double step = 2 * std::numbers::pi * overtone * hertz / kMaterialRate;
    for (std::size_t i = 0; i < count && first + i < samples.size(); ++i) {
      const double t = static_cast<double>(i) / kMaterialRate;
      const double level = 0.1 / overtone * std::exp(-t * (2 + overtone / 4.0)) * std::min(1.0, t / 0.002);
      samples[first + i] += level * (1 - t / kSeconds) * std::sin(step * static_cast<double>(i));
    }
  }
}

// A burst of white noise, which reaches up to half the rate.
void add_cymbal(std::vector<double> &samples, std::size_t first, std::minstd_rand &random) {
  std::uniform_real_distribution<double> noise(-0.1, 0.1);
  for (std::size_t i = 0; i < static_cast<std::size_t>(0.4 * kMaterialRate); ++i) {
    samples[first + i] += noise(random) * std::exp(-static_cast<double>(i) / kMaterialRate * 15);
  }
}

// Four chords over a beat.
std::vector<double> music() {
  constexpr double kChords[][4] = {{130.81, 164.81, 196.00, 261.63},
                                   {110.00, 164.81, 220.00, 261.63},
                                   {87.31, 130.81, 220.00, 349.23},
                                   {98.00, 146.83, 246.94, 392.00}};
  constexpr auto kBeat = static_cast<std::size_t>(kMaterialRate / 2), kStrum = kBeat / 12;
  std::vector<double> samples(2 * kSilence + 16 * kBeat);
  std::minstd_rand random(1);
  for (std::size_t beat = 0; beat < 15; ++beat) {
    const std::size_t first = kSilence + beat * kBeat;
    add_cymbal(samples, first, random);
    if (beat % 4) continue;
    for (std::size_t i = 0; i < 4; ++i) add_string(samples, first + i * kStrum, kChords[beat / 4][i]);
  }
  return samples;
}

}  // namespace

std::vector<Material> all_material() {
  std::vector<Material> all;
  if (auto samples = speech(); !samples.empty()) {
    all.push_back({"speech", std::move(samples)});
  } else {
    std::fprintf(stderr, "bench_quality: no recordings in /usr/share/sounds/alsa, so speech is SKIPPED\n");
  }
  all.push_back({"music", music()});
  return all;
}

}  // namespace quality
