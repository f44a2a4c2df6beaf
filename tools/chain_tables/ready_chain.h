// The rows of the tables of ready chains, from the planner's own formulas.
#pragma once

#include <auspool/raesampler_planning.h>

#include <array>
#include <cstdint>
#include <vector>

#include "resampler/planning/ratio.h"

namespace auspool {

// The ratios that a quality's table holds: conversions among the families of 44100 and 48000 Hz.
std::vector<Fraction> ready_ratios(std::int32_t quality);

precomputed_structure ready_chain(std::int32_t quality, Fraction ratio);

}  // namespace auspool
