// Which chain converts between two rates.
#pragma once

#include <cstdint>

#include "auspool/raesampler_stages.h"

namespace auspool {

// The chain that is kept ready for two rates. Returns the number of its stages, or -1 for none. `actual_ratio` may be
// null.
std::int32_t get_precomputed_structure(std::int32_t quality, double *actual_ratio, resampler_structure *structure,
                                       double input_rate, double output_rate, double rate_tolerance);

// Works out a chain. Returns the number of its stages, 0 where there is nothing to do, or -1.
std::int32_t generate_resampler_structure(std::int32_t quality, double *actual_ratio, std::uint32_t drift,
                                          std::uint32_t sdm, resampler_structure *structure, double input_rate,
                                          double output_rate, double rate_tolerance);

// Both, in this order: what a chain for these rates is built from. Returns the number of stages, 0 or -1 as above.
std::int32_t find_structure(std::int32_t quality, double *actual_ratio, bool drift, bool sdm,
                            resampler_structure *structure, double input_rate, double output_rate,
                            double rate_tolerance);

// Writes out a ready chain as a structure. Its cost and memory are not set. Returns the number of stages, or -1.
std::int32_t expand_precomputed(const precomputed_structure &chain, resampler_structure *structure);

}  // namespace auspool
