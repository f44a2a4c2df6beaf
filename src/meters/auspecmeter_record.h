// The spectrum meter's record.
#pragma once

#include <cstddef>
#include <cstdint>

#include "auspool/auspecmeter.h"
#include "base/cache_lines.h"
#include "base/relaxed.h"
#include "meters/shared_levels.h"
#include "platform/fft.h"

namespace auspool {

// The index of the lowest bit that is set; 0 has none.
constexpr int log2n(std::uint32_t value) {
  int index = 0;
  while (value != 0 && !(value >> index & 1)) ++index;
  return index;
}

}  // namespace auspool

struct auspecmeter {
  explicit auspecmeter(std::int32_t width);

  std::size_t half() const { return levels.size(); }

  std::int32_t fft_size;  // twice the meter's width
  auspool::RealFft<float> fft_setup;
  auspool::AlignedVector<float> window;
  auspool::Relaxed<double> last_time;  // seconds, at the last update
  auspool::Relaxed<std::uint32_t> update_count, seen_count;
  auspool::SharedLevels levels;           // decibels
  auspool::AlignedVector<float> samples;  // both channels, added
  auspool::Relaxed<std::int32_t> sample_count;

  // For the thread that processes, so that it needs little stack: a windowed block, its spectrum, the transform's work,
  // and the powers of a block.
  auspool::AlignedVector<float> windowed, spectrum, work, powers;
};
