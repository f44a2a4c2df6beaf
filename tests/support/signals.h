// Makers of test signals. All are one channel of floats; noise is the same for the same seed.
#pragma once

#include <cstdint>
#include <vector>

namespace auspool::testing {

using Samples = std::vector<float>;

Samples sine(std::size_t frames, double rate, double hz, double amplitude = 0.5, double phase = 0.0);
Samples sweep(std::size_t frames, double rate, double from_hz, double to_hz, double amplitude = 0.5);
Samples noise(std::size_t frames, std::uint32_t seed, double amplitude = 0.5);

// Bursts of noise with a syllable's envelope and pauses of digital silence between them, as speech
// has.
Samples speech_like(std::size_t frames, double rate, std::uint32_t seed);

Samples interleave(const Samples &left, const Samples &right);

}  // namespace auspool::testing
