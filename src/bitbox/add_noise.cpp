#include "bitbox/add_noise.h"

#include "bitbox/dither.h"
#include "bitbox/tiles.h"
#include "platform/noise.h"

namespace auspool {
namespace {

// Rectangular noise is from -0.5 to the range less 0.5, triangular noise within plus and minus the range.
template <typename Real>
void add_noise_to(bitbox_dither *dither, const void *source, std::int32_t source_stride, void *target,
                  std::int32_t target_stride, std::int32_t frames) {
  const bool triangular = dither->type == BITBOX_DITHER_TPDF;
  for_each_tile<Real>(source, source_stride, target, target_stride, frames, [&](Real *samples, std::size_t count) {
    std::int32_t noise[kTileFrames];
    (triangular ? triangular_noise : rectangular_noise)(dither->noise, noise, count);
    add_noise(noise, triangular ? 0.0 : -0.5, dither->amplitude, samples, count);
  });
}

}  // namespace

void add_noise_f32(bitbox_dither *dither, const void *source, std::int32_t source_stride, void *target,
                   std::int32_t target_stride, std::int32_t frames) {
  add_noise_to<float>(dither, source, source_stride, target, target_stride, frames);
}

void add_noise_f64(bitbox_dither *dither, const void *source, std::int32_t source_stride, void *target,
                   std::int32_t target_stride, std::int32_t frames) {
  add_noise_to<double>(dither, source, source_stride, target, target_stride, frames);
}

}  // namespace auspool
