// From samples and spectra to levels in decibels, in vectors. Nothing here allocates, locks or makes a system call.
#pragma once

#include <cstddef>

namespace auspool {

// out[i] = samples[i] * window[i]
void apply_window(const float *samples, const float *window, float *out, std::size_t count);

// powers[i] += (scale * real[i])^2 + (scale * imaginary[i])^2, each addition held to 1. NaN goes through.
void add_powers(const float *real, const float *imaginary, float scale, float *powers, std::size_t count);

// The decibels of powers[i] / divisor, -120 where that is below 1e-8. NaN stays.
void to_decibels(const float *powers, float divisor, float *decibels, std::size_t count);

}  // namespace auspool
