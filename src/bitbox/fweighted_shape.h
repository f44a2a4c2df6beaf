// Noise-shaping filters that follow the ear, for any sample rate.
#pragma once

#include <cstdint>
#include <memory>

namespace auspool {

// The taps for a rate, from the table where it has the rate; other rates get a filter that does at their audible
// frequencies what that of 44100 does. Returns their number, 0 below 44100. Throws std::bad_alloc.
std::int32_t create_fweighted_shape_filter(double sample_rate, std::unique_ptr<float[]> &taps);

// How many coefficients `freqz_abs` takes: a one and the 24 taps of 44100.
inline constexpr int kResponseCoefficients = 25;

// The magnitudes of a filter at `points` frequencies from 0 to half the sample rate. Frequencies in between are
// multiples of that over `points`, not `points - 1`. The first and the last, at 0 and at half the rate, keep their
// sign.
void freqz_abs(const float *coefficients, float *magnitudes, std::int32_t points);

}  // namespace auspool
