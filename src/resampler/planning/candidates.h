// The candidates among which the planner chooses.
//
// Each is a row of stages for one pair of rates at one quality, with its cost and memory. `L / M` is the reduced ratio
// of output to input rate, `base` the smaller of the two: the band that must survive.
#pragma once

#include <auspool/raesampler_planning.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "resampler/planning/ratio.h"

namespace auspool {

// A filter that sets the band, and a sinc stage that can make any ratio.
resampler_structure sinc_candidate(std::int32_t quality, double input_rate, double output_rate);

// One stage that does it all, by a direct filter.
resampler_structure single_stage_candidate(std::int32_t quality, Fraction ratio);

// The rows of small factors that multiply up to the ratio. Throws std::bad_alloc.
std::vector<resampler_structure> factored_candidates(std::int32_t quality, Fraction ratio);

// A first stage by up/down and a second one that does the rest; none where no such pair suits, or `up` does not divide
// L or `down` does not divide M.
std::optional<Fraction> mixed_first_stage(Fraction ratio);
resampler_structure mixed_candidate(std::int32_t quality, Fraction ratio, Fraction first);

}  // namespace auspool
