// What a converter does to tones, and how fast it is.
#pragma once

#include <vector>

#include "quality/converters.h"

namespace quality {

struct Figures {
  double pass_band;  // up to where a tone keeps its level to 0.1 dB, as a share of the lower rate's band
  double rejection;  // decibels: images of tones of that band, and aliases that fall into it
  double speed;      // millions of stereo input frames a second
};

// `Figures` that no converter has, where a kind does not do these rates.
inline constexpr Figures kNone = {-1, -1, -1};

Figures measure_quality(const Kind &kind, const Rates &rates);
double measure_speed(const Kind &kind, const Rates &rates);
double measure_creation(const Kind &kind, const Rates &rates);  // microseconds

// The settled output for a tone of `hertz`, at full scale.
std::vector<float> output_for_tone(const Kind &kind, const Rates &rates, double hertz);

}  // namespace quality
