// The level meter's record.
#pragma once

#include <array>
#include <cstdint>

#include "auspool/aumeter.h"
#include "base/relaxed.h"

namespace auspool {

// Left and right.
using LevelPair = std::array<Relaxed<float>, 2>;

}  // namespace auspool

struct aumeter {
  auspool::Relaxed<double> falloff = 20.0;  // decibels per second
  auspool::LevelPair peak, rms, clip;       // 1.0 is full scale
  auspool::Relaxed<double> last_time;       // seconds, at the end of the last block
  auspool::Relaxed<std::uint32_t> process_count = 1;
  // What process_count was at the last read of each kind.
  auspool::Relaxed<std::uint32_t> peak_read_count, rms_read_count, clip_read_count;
};
