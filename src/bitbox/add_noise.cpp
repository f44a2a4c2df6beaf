#include "bitbox/add_noise.h"

#include "bitbox/dither.h"
#include "bitbox/tiles.h"

namespace auspool {
namespace {

template <typename Real>
void add_noise(bitbox_dither *dither, const void *source, std::int32_t source_stride, void *target,
               std::int32_t target_stride, std::int32_t frames) {
  const bool triangular = dither->type == BITBOX_DITHER_TPDF;
  for_each_tile<Real>(source, source_stride, target, target_stride, frames, [&](Real *samples, std::size_t count) {
    double noise[kTileFrames];
    (triangular ? fill_triangular : fill_rectangular)(dither->noise, dither->amplitude, noise, count);
    for (std::size_t i = 0; i < count; ++i) samples[i] = static_cast<Real>(static_cast<double>(samples[i]) + noise[i]);
  });
}

}  // namespace

void add_noise_f32(bitbox_dither *dither, const void *source, std::int32_t source_stride, void *target,
                   std::int32_t target_stride, std::int32_t frames) {
  add_noise<float>(dither, source, source_stride, target, target_stride, frames);
}

void add_noise_f64(bitbox_dither *dither, const void *source, std::int32_t source_stride, void *target,
                   std::int32_t target_stride, std::int32_t frames) {
  add_noise<double>(dither, source, source_stride, target, target_stride, frames);
}

}  // namespace auspool
