// The dither object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "auspool/bitbox.h"
#include "bitbox/shape_filter.h"
#include "bitbox/shaper_work.h"

namespace auspool {

inline constexpr std::uint32_t kNoiseSeed = 0xDEADBEEF;
inline constexpr double kNoiseRange = 2147483647.0;  // of the generator's 31 bits

}  // namespace auspool

struct bitbox_dither {
  bitbox_dither(std::int32_t bits, std::int32_t channel_count, std::uint32_t dither_type, auspool::ShapeFilter filter);

  bool is_shaped() const { return order > 0; }
  float *state_of(std::int32_t channel) const;

  double step;  // one code, where 1.0 is full scale
  std::uint32_t type;
  std::uint32_t noise = auspool::kNoiseSeed;
  double amplitude;  // of one unit of noise
  std::int32_t channels;
  std::int32_t order;  // taps of the filter, 0 without shaping
  double highest_code, lowest_code;
  double scale;
  std::unique_ptr<float[]> zeros, poles;
  std::unique_ptr<float[]> state;  // of each channel `order` sums to come and the last error
  auspool::ShaperWork<float> floats;
  auspool::ShaperWork<double> doubles;
};

namespace auspool {

// Shaped dithers have a state for each channel, the others none.
bool may_join_channels(const bitbox_dither *dither);
bool has_state_for(const bitbox_dither &dither, std::int32_t channels);

}  // namespace auspool
