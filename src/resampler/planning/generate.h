#pragma once

#include <auspool/raesampler_planning.h>

#include <cstdint>

namespace auspool {

// The cheapest chain of at most `max_stages` stages for two rates that differ. There is always one: the sinc candidate
// serves any rates.
resampler_structure cheapest_structure(std::int32_t quality, double input_rate, double output_rate,
                                       std::int32_t max_stages);

}  // namespace auspool
