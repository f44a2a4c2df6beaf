// The shaped quantiser: an error-feedback loop that moves the noise of rounding to where it is heard less.
#pragma once

#include <cstddef>
#include <cstdint>

#include "auspool/bitbox.h"

namespace auspool {

// Floats that one channel keeps between calls.
constexpr std::size_t state_size(std::int32_t order) {
  return static_cast<std::size_t>(order) + 1;
}

// Quantise one channel of a shaped dither; a channel that it does not have is left alone.
void dither_noise_shaper_op_f32(bitbox_dither *dither, std::int32_t channel, const void *source,
                                std::int32_t source_stride, void *target, std::int32_t target_stride,
                                std::int32_t frames);
void dither_noise_shaper_op_f64(bitbox_dither *dither, std::int32_t channel, const void *source,
                                std::int32_t source_stride, void *target, std::int32_t target_stride,
                                std::int32_t frames);

// Quantises two neighbouring channels in less time than one after the other takes, with the same result: the second
// begins with the noise that `frames` samples of the first leave behind. The dither goes on from there in the end.
class TwoChannelShaper {
public:
  TwoChannelShaper(bitbox_dither &dither, std::int32_t first_channel, std::size_t frames);
  ~TwoChannelShaper();
  TwoChannelShaper(const TwoChannelShaper &) = delete;
  TwoChannelShaper &operator=(const TwoChannelShaper &) = delete;

  // The next frames, each channel contiguous and in place.
  void shape_f32(void *const *planes, std::int32_t frames);
  void shape_f64(void *const *planes, std::int32_t frames);

private:
  bitbox_dither &dither_;
  const std::int32_t first_channel_;
  std::uint32_t noise_[2];
};

}  // namespace auspool
