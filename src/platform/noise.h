// Rows of noise: the 32-bit xorshift generator of G. Marsaglia, "Xorshift RNGs" (2003), with shifts 13, 17 and 5, in as
// many lanes at a time as make the processor busy. What comes out is the generator's one sequence, bit for bit.
//
// Nothing here allocates, locks or makes a system call, and results do not depend on the processor.
#pragma once

#include <cstddef>
#include <cstdint>

namespace auspool {

// At most so many values at once.
inline constexpr std::size_t kNoiseTile = 256;

// Moves `state` on by a step a value. The values are what the lower 31 bits of the state are then.
void rectangular_noise(std::uint32_t &state, std::int32_t *values, std::size_t count);

// Moves `state` on by two steps a value. The values are the lower 31 bits after the first, less those after the second.
void triangular_noise(std::uint32_t &state, std::int32_t *values, std::size_t count);

// The state `steps` steps behind `state`, in the time of some look-ups.
std::uint32_t later_noise(std::uint32_t state, std::uint64_t steps);

// samples[i] += (noise[i] + bias) * amplitude, in double whatever the samples are.
template <typename Real>
void add_noise(const std::int32_t *noise, double bias, double amplitude, Real *samples, std::size_t count);

// out[i] = noise[i] * amplitude, formed in double.
template <typename Real>
void scale_noise(const std::int32_t *noise, double amplitude, Real *out, std::size_t count);

}  // namespace auspool
