// From samples and spectra to levels in decibels, in vectors. Nothing here allocates, locks or makes a system call.
#pragma once

#include <cstddef>

namespace auspool {

// out[i] = samples[i] * window[i]
void apply_window(const float *samples, const float *window, float *out, std::size_t count);

// powers[i] += (scale * real[i])^2 + (scale * imaginary[i])^2, each addition held to 1. NaN goes through.
void add_powers(const float *real, const float *imaginary, float scale, float *powers, std::size_t count);

// The bottom of the scale, in decibels.
inline constexpr float kSpectrumFloor = -120.0f;

// Lowers levels by so many decibels. One that is below the floor becomes the floor.
void fall_levels(float *levels, float decibels, std::size_t count);

// Raises levels to those of powers[i] / divisor in decibels where they are below. A power below 1e-8 is at the floor,
// and one that is NaN raises nothing.
void raise_levels(const float *powers, float divisor, float *levels, std::size_t count);

}  // namespace auspool
