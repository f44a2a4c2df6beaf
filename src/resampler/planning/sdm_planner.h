// Where the planner of block transforms for very high rates joins.
#pragma once

#include <auspool/raesampler_planning.h>

#include <cstdint>

namespace auspool {

// Fills `structure` and returns the number of stages, or -1 if there is no such chain. This build has no such stages.
inline std::int32_t generate_sdm_structure(std::int32_t, resampler_structure &, double, double) {
  return -1;
}

}  // namespace auspool
