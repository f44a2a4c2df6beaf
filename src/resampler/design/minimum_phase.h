// Filters of minimum phase from filters of linear phase.
#pragma once

#include <cstdint>

#include "resampler/memory.h"

namespace auspool {

using Prototype = Block<double>;

// Replaces `length` taps by those of minimum phase and the same magnitudes. False when memory runs out, or no transform
// is that long; the taps are then as they were.
bool make_minimum_phase(double *taps, std::int32_t length);

}  // namespace auspool
