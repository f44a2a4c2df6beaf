// Chains of block transforms, and signals that tell what such a chain does at every moment.
#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

#include "auspool/raesampler_planning.h"
#include "support/chains.h"
#include "support/converter_quality.h"

namespace auspool::testing {

// The chain that is planned for these rates, whether or not a ready one would serve them too.
inline RaesamplerHandle make_sdm_chain(const RatePair &rates, std::int32_t flags, std::int32_t channels = 1) {
  resampler_structure structure = {};
  if (generate_sdm_resampler_structure(&structure, rates.in, rates.out) < 1) return nullptr;
  return RaesamplerHandle(raesampler_create_from_structure(flags, channels, 0, &structure, rates.in));
}

// Input samples that such a chain certainly does not remember any more: what its last stage holds, and some.
inline double memory_of_sdm_chain(const RatePair &rates) {
  return (2 * 8192 + 1000) * rates.in / rates.out;
}

// When the first output sample stands: half of the output's period after the input's first, less half of the input's. A
// block of odd size cannot begin half a sample earlier, so that all behind it stands that much later. Not for chains
// that rise first.
inline double time_of_first_output(const RatePair &rates) {
  resampler_structure structure = {};
  generate_sdm_resampler_structure(&structure, rates.in, rates.out);
  double time = 0.5 / rates.out - 0.5 / rates.in, rate = rates.in;
  for (std::int32_t i = 0; i < structure.count; rate *= structure.stages[i++].ratio) {
    if (structure.stages[i].block_size % 2 != 0) time += 0.5 / rate;
  }
  return time;
}

// What is asked of it in double.
inline bool is_clean(const ConverterQuality &measured) {
  return measured.images >= 160 && measured.aliases >= 160 && measured.ripple <= 1e-3 && measured.delay <= 1;
}

inline std::int32_t resample_channels(raesampler *chain, const float *const *in, float *const *out, std::int32_t *count,
                                      std::int32_t room) {
  return raesampler_resample(chain, in, 1, out, 1, count, room);
}
inline std::int32_t resample_channels(raesampler *chain, const double *const *in, double *const *out,
                                      std::int32_t *count, std::int32_t room) {
  return raesampler_resampleD(chain, in, 1, out, 1, count, room);
}

// A signal of one channel in blocks of up to `longest` samples. `room` is what a call may give; 0 for no limit.
template <typename Sample>
std::vector<Sample> stream(raesampler *chain, const std::vector<Sample> &in, std::mt19937 &random, std::int32_t longest,
                           std::int32_t room) {
  std::vector<Sample> out, block;
  std::int32_t made = 1;
  for (std::size_t at = 0; at < in.size() || made > 0;) {
    std::int32_t count = std::min(random_between(random, 1, longest), static_cast<std::int32_t>(in.size() - at));
    const Sample *from = in.data() + at;
    block.resize(static_cast<std::size_t>(room > 0 ? room : raesampler_output_samples(chain, count)));
    Sample *to = block.data();
    made = resample_channels(chain, &from, &to, &count, room);
    at += static_cast<std::size_t>(count);
    out.insert(out.end(), block.begin(), block.begin() + made);
    if (count == 0 && at < in.size() && made == 0) break;  // the chain refuses to go on
  }
  return out;
}

// A tone that sweeps from one frequency to another in a while, and comes and goes smoothly.
struct Sweep {
  double from, to;  // Hz
  double seconds;

  double at(double time) const {
    if (time <= 0 || time >= seconds) return 0;
    const double phase = from * time + (to - from) * time * time / (2 * seconds);
    const double edge = std::min({1.0, time / (0.2 * seconds), (seconds - time) / (0.2 * seconds)});
    // Smooth enough for what lies beyond the sweep's band to vanish.
    const double x = 2 * edge - 1;
    const double envelope = edge >= 1 ? 1 : 0.5 * (1 + std::tanh(2 * x / std::sqrt(1 - x * x)));
    return envelope * std::cos(2 * std::numbers::pi * (phase - std::floor(phase)));
  }

  std::vector<double> samples(double rate, double silence) const {
    std::vector<double> all(static_cast<std::size_t>((seconds + silence) * rate));
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = at(static_cast<double>(i) / rate);
    return all;
  }
};

}  // namespace auspool::testing
