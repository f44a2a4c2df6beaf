#pragma once

#include <cstdint>

#include "resampler/stages/sdm/transform_matrix.h"

namespace auspool {

// The matrix of these sizes, designed where no one has asked for it before, and kept for the life of the process. Null
// for sizes that make none and when memory is short. Any thread may ask; a design keeps the others waiting.
const transform_matrix *find_sdm_trmx(std::int32_t transform_size, std::int32_t block_size);

}  // namespace auspool
