#include "bitbox/noise_shaper.h"

#include "bitbox/dither.h"
#include "bitbox/tiles.h"
#include "platform/noise.h"

namespace auspool {
namespace {

// Codes instead of samples save the loop two multiplications; between them lies a power of two, so nothing is lost.
template <typename Real>
void shape(bitbox_dither &dither, ShaperWork<Real> &work, float *state, const void *source, std::int32_t source_stride,
           void *target, std::int32_t target_stride, std::int32_t frames) {
  const auto scale = static_cast<Real>(dither.scale);
  const auto step = static_cast<Real>(dither.step);
  auto feedback =
      work.load(state, scale, static_cast<Real>(dither.highest_code), static_cast<Real>(dither.lowest_code));
  for_each_tile<Real>(source, source_stride, target, target_stride, frames, [&](Real *samples, std::size_t count) {
    std::int32_t steps[kTileFrames];
    Real noise[kTileFrames];
    triangular_noise(dither.noise, steps, count);
    scale_noise(steps, dither.amplitude * dither.scale, noise, count);
    for (std::size_t i = 0; i < count; ++i) samples[i] *= scale;
    quantize(feedback, noise, samples, count);
    for (std::size_t i = 0; i < count; ++i) samples[i] *= step;
  });
  work.store(feedback, state, step);
}

bool has_channel(const bitbox_dither &dither, std::int32_t channel) {
  return dither.is_shaped() && channel >= 0 && channel < dither.channels;
}

}  // namespace

void dither_noise_shaper_op_f32(bitbox_dither *dither, std::int32_t channel, const void *source,
                                std::int32_t source_stride, void *target, std::int32_t target_stride,
                                std::int32_t frames) {
  if (!has_channel(*dither, channel) || frames < 1) return;
  shape(*dither, dither->floats, dither->state_of(channel), source, source_stride, target, target_stride, frames);
}

void dither_noise_shaper_op_f64(bitbox_dither *dither, std::int32_t channel, const void *source,
                                std::int32_t source_stride, void *target, std::int32_t target_stride,
                                std::int32_t frames) {
  if (!has_channel(*dither, channel) || frames < 1) return;
  shape(*dither, dither->doubles, dither->state_of(channel), source, source_stride, target, target_stride, frames);
}

}  // namespace auspool
