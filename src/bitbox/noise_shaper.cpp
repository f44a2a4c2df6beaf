#include "bitbox/noise_shaper.h"

#include "bitbox/dither.h"
#include "bitbox/tiles.h"
#include "platform/noise.h"

namespace auspool {
namespace {

// Codes instead of samples save the loop two multiplications; between them lies a power of two, so nothing is lost.
template <typename Real>
struct Tile {
  std::uint32_t &noise_state;
  Real *samples;
  Real noise[kTileFrames];

  void begin(const bitbox_dither &dither, std::size_t count) {
    std::int32_t steps[kTileFrames];
    triangular_noise(noise_state, steps, count);
    scale_noise(steps, dither.amplitude * dither.scale, noise, count);
    for (std::size_t i = 0; i < count; ++i) samples[i] *= static_cast<Real>(dither.scale);
  }
  void end(const bitbox_dither &dither, std::size_t count) const {
    for (std::size_t i = 0; i < count; ++i) samples[i] *= static_cast<Real>(dither.step);
  }
};

template <typename Real>
void shape(bitbox_dither &dither, ShaperWork<Real> &work, std::int32_t channel, const void *source,
           std::int32_t source_stride, void *target, std::int32_t target_stride, std::int32_t frames) {
  const auto filter = work.filter(dither.highest_code, dither.lowest_code);
  work.load(0, dither.state_of(channel), dither.scale);
  for_each_tile<Real>(source, source_stride, target, target_stride, frames, [&](Real *samples, std::size_t count) {
    Tile<Real> tile{dither.noise, samples, {}};
    tile.begin(dither, count);
    quantize<Real, 1>(filter, {work.row(0, tile.noise, samples)}, count);
    tile.end(dither, count);
  });
  work.store(0, dither.state_of(channel), dither.step);
}

template <typename Real>
void shape_two(bitbox_dither &dither, ShaperWork<Real> &work, std::int32_t channel, std::uint32_t (&noise)[2],
               void *const *planes, std::int32_t frames) {
  const auto filter = work.filter(dither.highest_code, dither.lowest_code);
  for (const int i : {0, 1}) work.load(i, dither.state_of(channel + i), dither.scale);
  for (std::size_t done = 0; done < static_cast<std::size_t>(frames); done += kTileFrames) {
    const std::size_t count = std::min(kTileFrames, static_cast<std::size_t>(frames) - done);
    Tile<Real> a{noise[0], static_cast<Real *>(planes[0]) + done, {}};
    Tile<Real> b{noise[1], static_cast<Real *>(planes[1]) + done, {}};
    a.begin(dither, count);
    b.begin(dither, count);
    quantize<Real, 2>(filter, {work.row(0, a.noise, a.samples), work.row(1, b.noise, b.samples)}, count);
    a.end(dither, count);
    b.end(dither, count);
  }
  for (const int i : {0, 1}) work.store(i, dither.state_of(channel + i), dither.step);
}

bool has_channel(const bitbox_dither &dither, std::int32_t channel) {
  return dither.is_shaped() && channel >= 0 && channel < dither.channels;
}

}  // namespace

void dither_noise_shaper_op_f32(bitbox_dither *dither, std::int32_t channel, const void *source,
                                std::int32_t source_stride, void *target, std::int32_t target_stride,
                                std::int32_t frames) {
  if (!has_channel(*dither, channel) || frames < 1) return;
  shape(*dither, dither->floats, channel, source, source_stride, target, target_stride, frames);
}

void dither_noise_shaper_op_f64(bitbox_dither *dither, std::int32_t channel, const void *source,
                                std::int32_t source_stride, void *target, std::int32_t target_stride,
                                std::int32_t frames) {
  if (!has_channel(*dither, channel) || frames < 1) return;
  shape(*dither, dither->doubles, channel, source, source_stride, target, target_stride, frames);
}

TwoChannelShaper::TwoChannelShaper(bitbox_dither &dither, std::int32_t first_channel, std::size_t frames)
    : dither_(dither), first_channel_(first_channel), noise_{dither.noise, later_noise(dither.noise, 2 * frames)} {}

TwoChannelShaper::~TwoChannelShaper() {
  dither_.noise = noise_[1];
}

void TwoChannelShaper::shape_f32(void *const *planes, std::int32_t frames) {
  shape_two(dither_, dither_.floats, first_channel_, noise_, planes, frames);
}

void TwoChannelShaper::shape_f64(void *const *planes, std::int32_t frames) {
  shape_two(dither_, dither_.doubles, first_channel_, noise_, planes, frames);
}

}  // namespace auspool
