// From band edges to the description of a stage.
#pragma once

#include <auspool/raesampler_planning.h>

#include <cstdint>

namespace auspool {

// A direct low-pass stage by up/down: its kind, its length and its gain follow.
stage_spec low_pass_stage(std::int32_t quality, std::int32_t up, std::int32_t down, double pass_edge, double stop_edge);

// The share of the band that stays flat when the ratio of rates is `ratio`. Far down, a little less of it, so that
// filters of chains with small ratios do not grow without need.
double pass_fraction(std::int32_t quality, double ratio);

// Fills in `cost` and `memory`.
void estimate(resampler_structure &structure);

}  // namespace auspool
