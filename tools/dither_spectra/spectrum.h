// What a dither adds to a signal, as a spectrum, beside what its filter says.
#pragma once

#include <cstddef>
#include <vector>

#include "bitbox/dither.h"

namespace auspool {

inline constexpr int kLog2Segment = 12;
inline constexpr std::size_t kSegment = std::size_t{1} << kLog2Segment;

// The power spectrum of noise by Welch's method, scaled so that white noise of variance v has v in each bin. Bins from
// 0, which is left empty, to kSegment / 2, which is left out.
std::vector<double> power_spectrum(const std::vector<double> &samples);

// What `frames` frames of a quiet sine gain on their way to whole codes, in codes.
std::vector<double> added_noise(bitbox_dither &dither, std::size_t frames);

// The power that the filter of a dither gives to white noise of power 1 at an angle up to pi.
double designed_power(const bitbox_dither &dither, double angle);

}  // namespace auspool
