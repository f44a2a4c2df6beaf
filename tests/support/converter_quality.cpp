#include "support/converter_quality.h"

#include <limits>

#include "resampler/chain/chain.h"
#include "resampler/planning/stage_design.h"
#include "support/tone.h"

namespace auspool::testing {
namespace {

constexpr std::size_t kMeasured = 8192;  // output samples

template <typename Sample>
std::int32_t resample(raesampler *chain, const Sample *const *in, Sample *const *out, std::int32_t *count) {
  if constexpr (sizeof(Sample) == 8) {
    return raesampler_resampleD(chain, in, 1, out, 1, count, 0);
  } else {
    return raesampler_resample(chain, in, 1, out, 1, count, 0);
  }
}

template <typename Sample>
class Prober {
public:
  // `padding`: input samples that are longer than all that the chain remembers.
  Prober(raesampler *chain, const RatePair &rates, double padding) : chain_(chain), rates_(rates) {
    settled_ = static_cast<std::size_t>(padding * rates.out / rates.in) + 1;
    inputs_ =
        static_cast<std::size_t>(2 * padding + (static_cast<double>(settled_ + kMeasured) * rates.in / rates.out)) + 1;
  }

  void pass(double hertz, ConverterQuality *quality) {
    const auto out = run(hertz);
    const ToneFit fit = fit_tone(std::span<const Sample>(out), settled_, hertz, rates_.out);
    const std::span<const double> rest(fit.rest);
    quality->images = std::min(quality->images, decibels(fit.amplitude / strongest_tone(rest)));
    quality->rest = std::min(quality->rest, decibels(fit.amplitude / amplitude_of(rest)));
    quality->ripple = std::max(quality->ripple, std::abs(decibels(fit.amplitude)));
    // Higher tones have periods too short to tell.
    if (hertz < 0.1 * std::min(rates_.in, rates_.out)) {
      quality->delay = std::max(quality->delay, std::abs(fit.delay) * std::min(rates_.in, rates_.out));
    }
  }

  void stop(double hertz, ConverterQuality *quality) {
    const auto out = run(hertz);
    quality->aliases =
        std::min(quality->aliases, -decibels(strongest_tone(std::vector<double>(out.begin(), out.end()))));
  }

private:
  // The settled output for a tone.
  std::vector<Sample> run(double hertz) {
    raesampler_reset(chain_);
    auto out = convert(chain_, tone<Sample>(hertz, rates_.in, inputs_));
    out.erase(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(settled_));
    out.resize(std::min(out.size(), kMeasured));
    return out;
  }

  raesampler *chain_;
  const RatePair rates_;
  std::size_t settled_;  // output samples until a tone is all that there is
  std::size_t inputs_;
};

template <typename Sample>
ConverterQuality measure(raesampler *chain, const RatePair &rates, double highest, double padding) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  ConverterQuality quality = {kInfinity, kInfinity, kInfinity, 0, 0};
  Prober<Sample> prober(chain, rates, padding);
  const double nyquist = std::min(rates.in, rates.out) / 2;
  for (const double part : {0.0631, 0.487, 0.8317, 0.9999}) prober.pass(part * highest * nyquist, &quality);
  if (rates.in > rates.out) {
    const double beyond = rates.in / 2 - nyquist;
    // An alias too near the edge of the output's band could not be told from its own mirror image.
    const double nearest = 6 * rates.out / static_cast<double>(kMeasured);
    for (const double part : {0.0, 0.2713, 0.7419, 0.9817}) {
      const double distance = std::max(part * beyond, nearest);
      if (distance < beyond) prober.stop(nyquist + distance, &quality);
    }
  }
  return quality;
}

}  // namespace

RaesamplerHandle create_chain(const RatePair &rates, std::int32_t flags, std::int32_t channels,
                              std::int32_t latency_microseconds) {
  return RaesamplerHandle(raesampler_create(flags, channels, nullptr, latency_microseconds, rates.in, rates.out, 0.0));
}

double flat_share(const RatePair &rates, std::int32_t flags) {
  return pass_fraction(flags & RAESAMPLER_QUALITY_MASK, rates.out / rates.in);
}

ConverterQuality measure_quality(const RatePair &rates, std::int32_t flags, double highest,
                                 std::int32_t latency_microseconds) {
  const RaesamplerHandle chain = create_chain(rates, flags, 1, latency_microseconds);
  if (!chain) return {};
  // In small partitions a filter remembers more than it asks to be padded with.
  const RaesamplerHandle in_large_blocks = create_chain(rates, flags & ~RAESAMPLER_FLAG_LOW_LATENCY);
  const double padding = raesampler_padding(chain.get()) + raesampler_padding(in_large_blocks.get());
  return measure_chain(chain.get(), rates, highest, padding);
}

ConverterQuality measure_chain(raesampler *chain, const RatePair &rates, double highest, double memory) {
  const auto measure_samples = chain->sample_size == 8 ? measure<double> : measure<float>;
  return measure_samples(chain, rates, highest, memory);
}

ConverterQuality worst_of(const ConverterQuality &a, const ConverterQuality &b) {
  return {std::min(a.images, b.images), std::min(a.rest, b.rest), std::min(a.aliases, b.aliases),
          std::max(a.ripple, b.ripple), std::max(a.delay, b.delay)};
}

std::ostream &operator<<(std::ostream &out, const RatePair &rates) {
  return out << rates.in << " to " << rates.out;
}

std::ostream &operator<<(std::ostream &out, const ConverterQuality &quality) {
  return out << "images " << quality.images << " dB, in all " << quality.rest << " dB, aliases " << quality.aliases
             << " dB, ripple " << quality.ripple << " dB, delay " << quality.delay << " samples of the lower rate";
}

template <typename Sample>
std::vector<Sample> convert(raesampler *chain, const std::vector<Sample> &in) {
  auto count = static_cast<std::int32_t>(in.size());
  std::vector<Sample> out(static_cast<std::size_t>(raesampler_output_samples(chain, count)));
  const Sample *const from[1] = {in.data()};
  Sample *const to[1] = {out.data()};
  out.resize(static_cast<std::size_t>(resample(chain, from, to, &count)));
  return out;
}
template std::vector<float> convert(raesampler *, const std::vector<float> &);
template std::vector<double> convert(raesampler *, const std::vector<double> &);

}  // namespace auspool::testing
