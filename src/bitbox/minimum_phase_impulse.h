// From a magnitude response to the impulse response of minimum phase that has it.
#pragma once

#include <cstdint>

namespace auspool {

inline constexpr std::int32_t kMagnitudes =
    2049;  // at frequencies evenly from 0 to half the sample rate, both included

// Takes kMagnitudes magnitudes above 0 and puts the first `length` values of the impulse response in their place. The
// method is that of the folded cepstrum (A. Oppenheim, R. Schafer, "Discrete-time signal processing", chapter on
// cepstrum analysis). Throws std::bad_alloc.
void minimum_phase_impulse(float *magnitudes, std::int32_t length);

}  // namespace auspool
