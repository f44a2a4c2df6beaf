// Which chain converts between two rates: a ready one, or one that is worked out.
#pragma once

#include <cstdint>

#include "auspool/raesampler_planning.h"

namespace auspool {

// What a chain for these rates is built from. Returns the number of stages, 0 where there is nothing to do, or -1.
// `actual_ratio` may be null.
std::int32_t find_structure(std::int32_t quality, double *actual_ratio, bool drift, bool sdm,
                            resampler_structure *structure, double input_rate, double output_rate,
                            double rate_tolerance);

// Writes out a ready chain as a structure. Its cost and memory are not set. Returns the number of stages, or -1.
std::int32_t expand_precomputed(const precomputed_structure &chain, resampler_structure *structure);

}  // namespace auspool
