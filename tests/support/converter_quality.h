// What a planned chain does to tones.
#pragma once

#include <cstdint>
#include <ostream>

#include "auspool/raesampler_planning.h"
#include "support/chains.h"

namespace auspool::testing {

struct RatePair {
  double in;
  double out;
};

// Decibels are of the chain itself: tones go in and come out in its own sample size.
struct ConverterQuality {
  double images;   // the least distance of the strongest tone that came with one of the pass band
  double rest;     // the least distance of all that came with it: distortion and noise
  double aliases;  // the least distance of what a tone above the output's band left; infinite where there is none
  double ripple;   // the greatest deviation of a pass-band tone's level
  double delay;    // the greatest delay of a tone, in samples of the lower rate
};

RaesamplerHandle create_chain(const RatePair &rates, std::int32_t flags, std::int32_t channels = 1,
                              std::int32_t latency_microseconds = 0);

// The share of the lower rate's band that the planner keeps flat.
double flat_share(const RatePair &rates, std::int32_t flags);

// Measures with tones up to `highest` of the lower rate's band.
ConverterQuality measure_quality(const RatePair &rates, std::int32_t flags, double highest,
                                 std::int32_t latency_microseconds = 0);

// The same of any chain of one channel. `memory`: more input samples than it remembers.
ConverterQuality measure_chain(raesampler *chain, const RatePair &rates, double highest, double memory);

ConverterQuality worst_of(const ConverterQuality &a, const ConverterQuality &b);

std::ostream &operator<<(std::ostream &out, const RatePair &rates);
std::ostream &operator<<(std::ostream &out, const ConverterQuality &quality);

// Feeds a whole signal to one channel of a chain, in one block and without a limit, in the chain's own sample size or
// as floats.
template <typename Sample>
std::vector<Sample> convert(raesampler *chain, const std::vector<Sample> &in);

}  // namespace auspool::testing
