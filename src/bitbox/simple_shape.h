// The shaping filter of two taps.
#pragma once

#include <array>

namespace auspool {

// The taps for a rate of at least 44100: of the table where it has the rate, else between its neighbours.
std::array<float, 2> simple_shape(double sample_rate);

}  // namespace auspool
