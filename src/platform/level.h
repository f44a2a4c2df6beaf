// The levels of a row of samples, at the speed of memory.
#pragma once

#include <cstddef>

namespace auspool {

struct Level {
  float largest_square = 0;  // NaN is passed over
  float sum_of_squares = 0;  // added in an order that depends on the processor
};

// Neither allocates nor locks.
Level measure_level(const float *samples, std::size_t count);

}  // namespace auspool
