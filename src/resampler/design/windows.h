#pragma once

#include <cstdint>

namespace auspool {

// Multiplies taps by the window of a kind (AU_WINDOW_*) and by `gain`; by nothing for a kind that does not exist.
// `beta` shapes the Kaiser window only.
void apply_window(double *taps, std::int32_t length, std::int32_t window, double gain, double beta);

}  // namespace auspool
