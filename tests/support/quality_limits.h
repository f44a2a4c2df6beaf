// What planned chains must reach.
#pragma once

#include <cstdint>
#include <limits>

#include "support/converter_quality.h"

namespace auspool::testing {

struct QualityLimits {
  double attenuation;  // decibels
  double ripple;       // decibels
  double delay;        // samples of the lower rate
};

// The windows' formula is an estimate, and several stages add up: the designs' 60 and 100 dB are met within 2. Chains
// of floats end where floats do.
inline QualityLimits quality_limits(std::int32_t quality) {
  constexpr QualityLimits kLimits[] = {
      {59.5, 0.02, 1.1}, {98, 2.5e-4, 1.1}, {145, 1e-6, 1.1}, {176, 1e-7, 1.1}, {196, 1e-8, 1.1}};
  return kLimits[quality & RAESAMPLER_QUALITY_MASK];
}

inline bool is_within(const ConverterQuality &measured, const QualityLimits &limits) {
  return measured.images >= limits.attenuation && measured.aliases >= limits.attenuation &&
         measured.ripple <= limits.ripple && measured.delay <= limits.delay;
}

}  // namespace auspool::testing
