// What chains do to sound: sweeps and many tones come through as their filters' designs promise, and nothing else does.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>

#include "auspool/filter_design.h"
#include "resampler/chain/chain.h"
#include "support/chains.h"

using namespace auspool::testing;

namespace {

constexpr double kPi = std::numbers::pi;

double decibels(double amplitude) {
  return 20 * std::log10(amplitude + 1e-30);
}

// What a chain makes of a whole signal, in blocks of 1000.
std::vector<double> convert(raesampler *r, const std::vector<double> &in) {
  std::vector<double> out;
  for (std::size_t at = 0; at < in.size(); at += 1000) {
    auto count = static_cast<std::int32_t>(std::min<std::size_t>(1000, in.size() - at));
    const std::size_t before = out.size();
    out.resize(before + static_cast<std::size_t>(raesampler_output_samples(r, count)));
    if (r->sample_size == 8) {
      const double *const from[] = {in.data() + at};
      double *const to[] = {out.data() + before};
      raesampler_resampleD(r, from, 1, to, 1, &count, 0);
    } else {
      const std::vector<float> narrow(in.begin() + static_cast<std::ptrdiff_t>(at),
                                      in.begin() + static_cast<std::ptrdiff_t>(at) + count);
      std::vector<float> made(out.size() - before);
      const float *const from[] = {narrow.data()};
      float *const to[] = {made.data()};
      raesampler_resample(r, from, 1, to, 1, &count, 0);
      std::copy(made.begin(), made.end(), out.begin() + static_cast<std::ptrdiff_t>(before));
    }
  }
  return out;
}

constexpr std::int32_t kWide = RaesamplerQualityUltraHigh;  // samples of 8 bytes

// A sweep over part of the band, as a function of time in input samples; frequencies are fractions of Nyquist. It fades
// in and out so smoothly that it has nothing beyond its ends.
struct Sweep {
  double from, to;
  double duration = 30000;

  double operator()(double t) const {
    if (t <= 0 || t >= duration) return 0;
    const double turn = kPi * (from * t + (to - from) * t * t / (2 * duration));
    return std::pow(std::sin(kPi * t / duration), 8) * std::sin(turn);
  }
  std::vector<double> samples() const {
    std::vector<double> all(static_cast<std::size_t>(duration));
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = (*this)(static_cast<double>(i));
    return all;
  }
};

// The largest difference between an output and the sweep itself, taken `late` input samples before.
double error_of(const std::vector<double> &out, const Sweep &sweep, double ratio, double late) {
  double largest = 0;
  for (std::size_t i = 0; i < out.size(); ++i) {
    largest = std::max(largest, std::abs(out[i] - sweep(static_cast<double>(i) / ratio - late)));
  }
  return largest;
}

std::vector<double> sine(std::size_t count, double frequency) {
  std::vector<double> all(count);
  for (std::size_t i = 0; i < count; ++i) all[i] = std::sin(kPi * frequency * static_cast<double>(i));
  return all;
}

// How late the output of a rational stage is, in its input samples: its first row is whole only where that suits.
double lateness(const stage_spec &spec) {
  if (spec.type == RAESAMPLER_STAGE_DECIMATOR || spec.type == RAESAMPLER_STAGE_FILTER) return 0;
  const double up = spec.up;
  const std::int32_t taps = (spec.length + spec.up - 1) / spec.up;
  if (taps % 2 == 0) return (up - 1) / up;
  return spec.up % 2 == 1 ? (up - 1) / (2 * up) : (up / 2 - 1) / up;
}

struct Case {
  std::int32_t up, down;
  double attenuation;
  std::int32_t flags;
};

std::string name_of(const Case &c) {
  return std::to_string(c.up) + "/" + std::to_string(c.down) + ", " + std::to_string(c.attenuation) + " dB";
}

constexpr double kPass = 0.85;  // of the narrower band; the stop band begins at its end
const Case kCases[] = {{1, 2, 60, 0},      {2, 1, 60, 0},          {147, 160, 60, 0},      {160, 147, 60, 0},
                       {3, 7, 100, 0},     {4, 1, 100, kWide},     {1, 3, 160, kWide},     {1, 1, 160, kWide},
                       {5, 2, 160, kWide}, {147, 320, 160, kWide}, {640, 441, 160, kWide}, {6, 1, 160, kWide}};

stage_spec spec_of(const Case &c) {
  return designed_spec(c.up, c.down, kPass, 1.0, c.attenuation);
}

// The narrower band, as a part of that of the input.
double band_of(const Case &c) {
  return std::min(1.0, static_cast<double>(c.up) / c.down);
}

// Ripple, images and the place in time in one: within the pass band the output is the sweep at the new rate.
TEST(ChainSound, ASweepInThePassBandComesThroughAtItsPlace) {
  for (const Case &c : kCases) {
    const stage_spec spec = spec_of(c);
    const Sweep sweep = {0.001, kPass * band_of(c)};
    const RaesamplerHandle r = make_chain(chain_of({spec}), c.flags);
    const auto out = convert(r.get(), sweep.samples());
    ASSERT_GT(out.size(), 20000 * spec.ratio);
    EXPECT_LT(decibels(error_of(out, sweep, spec.ratio, lateness(spec))), -c.attenuation + 3) << name_of(c);
  }
}

// The largest output once a stream has begun.
double largest_within(const std::vector<double> &samples) {
  double largest = 0;
  for (std::size_t i = samples.size() / 4; i < samples.size(); ++i) largest = std::max(largest, std::abs(samples[i]));
  return largest;
}

TEST(ChainSound, NothingIsHeardOfWhatLiesInTheStopBand) {
  for (const Case &c : kCases) {
    if (c.up >= c.down) continue;  // going up, all of the input's band is let through
    const RaesamplerHandle r = make_chain(chain_of({spec_of(c)}), c.flags);
    const auto heard = [&](const std::vector<double> &in) {
      raesampler_reset(r.get());
      return decibels(largest_within(convert(r.get(), in)));
    };
    EXPECT_LT(heard(Sweep{1.05 * band_of(c), 0.95}.samples()), -c.attenuation + 2) << name_of(c);
    for (const double place : {1.0, 1.003, 1.02}) {
      EXPECT_LT(heard(sine(20000, place * band_of(c))), -c.attenuation + 2) << name_of(c) << " at " << place;
    }
  }
}

// The level in dB of each of some tones in a signal, and of all else.
struct Spectrum {
  std::vector<double> tones;
  double rest;
};
Spectrum measure(std::vector<double> signal, const std::vector<double> &frequencies) {
  // A window that falls fast: the tones stand far apart, and the ends do not matter.
  const auto count = static_cast<double>(signal.size());
  double sum = 0, squares = 0;
  std::vector<double> window(signal.size());
  for (std::size_t i = 0; i < signal.size(); ++i) {
    const double turn = 2 * kPi * (static_cast<double>(i) + 0.5) / count;
    window[i] = 0.35875 - 0.48829 * std::cos(turn) + 0.14128 * std::cos(2 * turn) - 0.01168 * std::cos(3 * turn);
    sum += window[i];
    squares += window[i] * window[i];
  }
  std::vector<std::complex<double>> amplitudes(frequencies.size());
  for (int round = 0; round < 3; ++round) {  // what one tone takes of the others is given back
    for (std::size_t tone = 0; tone < frequencies.size(); ++tone) {
      const std::complex<double> step = std::polar(1.0, kPi * frequencies[tone]);
      std::complex<double> found = 0, turned = 1;
      for (std::size_t i = 0; i < signal.size(); ++i, turned *= step)
        found += signal[i] * window[i] * std::conj(turned);
      found *= 2 / sum;
      amplitudes[tone] += found;
      turned = found;
      for (std::size_t i = 0; i < signal.size(); ++i, turned *= step) signal[i] -= turned.real();
    }
  }
  Spectrum found = {};
  for (const auto &amplitude : amplitudes) found.tones.push_back(decibels(std::abs(amplitude)));
  double rest = 0;
  for (std::size_t i = 0; i < signal.size(); ++i) rest += signal[i] * signal[i] * window[i] * window[i];
  found.rest = decibels(std::sqrt(2 * rest / squares));
  return found;
}

TEST(ChainSound, ManyTonesKeepTheirLevelsAndGetNoCompany) {
  for (const Case &c : kCases) {
    const stage_spec spec = spec_of(c);
    std::vector<double> tones, frequencies, in(30000);
    for (const double place : {0.013, 0.17, 0.34, 0.501, 0.68, 0.83}) tones.push_back(place * band_of(c));
    for (std::size_t i = 0; i < in.size(); ++i) {
      for (const double tone : tones) in[i] += 0.1 * std::sin(kPi * tone * static_cast<double>(i) + 10 * tone);
    }
    for (const double tone : tones) frequencies.push_back(tone / spec.ratio);
    const RaesamplerHandle r = make_chain(chain_of({spec}), c.flags);
    auto out = convert(r.get(), in);
    out.erase(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(out.size() / 10));
    const Spectrum found = measure(out, frequencies);
    const double ripple = 20 * std::log10(1 + std::pow(10, -c.attenuation / 20));
    for (const double level : found.tones) EXPECT_NEAR(level, -20, 1.2 * ripple + 1e-7) << name_of(c);
    EXPECT_LT(found.rest, -20 - c.attenuation + 9) << name_of(c);
  }
}

// Several stages of both sample sizes, one after another: the errors add up, and so do the delays.
TEST(ChainSound, StagesInARowKeepTheSweep) {
  for (const auto &[flags, attenuation] : {std::pair(0, 80.0), std::pair(kWide, 160.0)}) {
    const stage_spec up = designed_spec(2, 1, kPass, 1.15, attenuation);
    const stage_spec across = designed_spec(80, 147, kPass, 1.0, attenuation);
    const stage_spec down = designed_spec(1, 2, 0.4, 1.0, attenuation);
    const RaesamplerHandle r = make_chain(chain_of({up, across, down}), flags);
    const double ratio = 80.0 / 147;
    const Sweep sweep = {0.001, 0.4 * ratio};
    const double late = lateness(up) + lateness(across) / 2;
    EXPECT_LT(decibels(error_of(convert(r.get(), sweep.samples()), sweep, ratio, late)), -attenuation + 10);
  }
}

// What an impulse gives at the rate of the filter are its taps.
TEST(ChainSound, AnImpulseGivesTheDesign) {
  for (const auto &[up, down] : {std::pair(1, 1), {1, 3}, {5, 1}, {3, 4}}) {
    for (const bool minimum_phase : {false, true}) {
      stage_spec spec = filter_spec(up, down, 99 * up);
      spec.minimum_phase = minimum_phase;
      const bool polyphase = up > 1;
      const std::int32_t length = polyphase ? (99 * up - 1) | 1 : 99;
      double *made =
          create_lp_filter(length, AU_WINDOW_KAISER, minimum_phase, nullptr, up, spec.cutoff, spec.kaiser_beta);
      std::vector<double> taps(made, made + length);
      std::free(made);
      const RaesamplerHandle r = make_chain(chain_of({spec}), kWide);
      raesampler_preroll(r.get());  // the delay stays, and the first tap comes first
      std::vector<double> impulse(300);
      impulse[0] = 1;
      const auto out = convert(r.get(), impulse);
      ASSERT_EQ(out.size(), static_cast<std::size_t>((300 * up + down - 1) / down));
      for (std::size_t i = 0; i < out.size(); ++i) {
        const std::size_t tap = i * static_cast<std::size_t>(down);
        EXPECT_NEAR(out[i], tap < taps.size() ? taps[tap] : 0.0, 1e-15) << up << "/" << down << " at " << i;
      }
    }
  }
}

TEST(ChainSound, ARatioOfOneIsTransparent) {
  const auto in = random_samples<double>(5000, 3);
  const auto begins_as = [](const std::vector<double> &whole, const std::vector<double> &part) {
    return std::equal(part.begin(), part.end(), whole.begin());
  };
  const RaesamplerHandle none(raesampler_create(kWide, 1, nullptr, 0, 44100, 44100, 0));
  EXPECT_EQ(convert(none.get(), in), in);
  stage_spec equal = filter_spec(1, 1, 99);
  equal.type = RAESAMPLER_STAGE_RATIONAL;
  equal.up = equal.down = 7;
  EXPECT_EQ(convert(make_chain(chain_of({equal}), kWide).get(), in), in);
  const RaesamplerHandle drift(raesampler_create(kWide | RAESAMPLER_FLAG_DRIFT, 1, nullptr, 0, 44100, 44100, 0));
  const auto out = convert(drift.get(), in);
  EXPECT_TRUE(begins_as(in, out));
  EXPECT_EQ(out.size() + static_cast<std::size_t>(raesampler_padding(drift.get())), in.size());
}

// The ratio of a drift stage changes with every block, and enters and leaves the plain copy of a ratio of 1: each
// output lies where the sum of the steps before it leads.
TEST(ChainSound, StepsOfTheDriftRatioAreContinuous) {
  for (const auto &[flags, at_most] : {std::pair(0, -49.0), std::pair(kWide, -120.0)}) {
    const RaesamplerHandle r(raesampler_create(flags | RAESAMPLER_FLAG_DRIFT, 1, nullptr, 0, 48000, 48000, 0));
    constexpr double kFrequency = 0.2;
    const auto in = sine(40000, kFrequency);
    const double ratios[] = {1.0, 1.0003, 0.9997, 1.0, 1.5, 0.5, 1.0, 1.0001};
    double place = 0, largest = 0;
    std::size_t step = 0;
    for (std::size_t at = 0; at < in.size(); at += 500, ++step) {
      const double ratio = ratios[step % std::size(ratios)];
      ASSERT_EQ(raesampler_set_drift_ratio(r.get(), ratio), 1);
      const auto out = convert(
          r.get(), {in.begin() + static_cast<std::ptrdiff_t>(at), in.begin() + static_cast<std::ptrdiff_t>(at) + 500});
      for (const double sample : out) {
        // The first sample of all stands before the signal's beginning for half of its window.
        if (place > 200) largest = std::max(largest, std::abs(sample - std::sin(kPi * kFrequency * place)));
        place += 1 / ratio;
      }
    }
    const double missing = r->sample_size == 4 ? 7 : 127;  // half of the taps
    EXPECT_NEAR(place, 40000 - missing, 2);
    EXPECT_LT(decibels(largest), at_most);
  }
}

}  // namespace
