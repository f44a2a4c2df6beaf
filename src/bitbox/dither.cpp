#include "bitbox/dither.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "bitbox/add_noise.h"
#include "bitbox/noise_shaper.h"

bitbox_dither::bitbox_dither(std::int32_t bits, std::int32_t channel_count, std::uint32_t dither_type,
                             auspool::ShapeFilter filter)
    : step(std::ldexp(1.0, 1 - bits)),
      type(dither_type),
      amplitude(step / auspool::kNoiseRange),
      channels(channel_count),
      order(filter.order),
      highest_code(std::ldexp(1.0, bits - 1) - 1),
      lowest_code(-std::ldexp(1.0, bits - 1)),
      scale(std::ldexp(1.0, bits - 1)),
      floats(filter),
      doubles(filter) {
  zeros = std::move(filter.zeros);
  poles = std::move(filter.poles);
  if (is_shaped()) state = std::make_unique<float[]>(auspool::state_size(order) * static_cast<std::size_t>(channels));
}

float *bitbox_dither::state_of(std::int32_t channel) const {
  return state.get() + auspool::state_size(order) * static_cast<std::size_t>(channel);
}

namespace auspool {
namespace {

constexpr std::int32_t kMostBits = 32;

}  // namespace

bool may_join_channels(const bitbox_dither *dither) {
  return !dither || !dither->is_shaped();
}

bool has_state_for(const bitbox_dither &dither, std::int32_t channels) {
  return !dither.is_shaped() || channels <= dither.channels;
}

}  // namespace auspool

using namespace auspool;

bitbox_dither *bitbox_dither_create(int32_t bits, int32_t channels, uint32_t type, const bitbox_custom_filter *filter,
                                    float sample_rate) {
  try {
    if (bits < 1 || bits > kMostBits || channels < 0) return nullptr;
    auto taps = make_shape_filter(type, filter, sample_rate);
    if (!taps) return nullptr;
    return new bitbox_dither(bits, channels, type, std::move(*taps));
  } catch (...) {
    return nullptr;
  }
}

void bitbox_dither_reset(bitbox_dither *dither) {
  if (!dither->is_shaped()) return;
  std::fill_n(dither->state.get(), state_size(dither->order) * static_cast<std::size_t>(dither->channels), 0.0f);
}

void bitbox_dither_destroy(bitbox_dither *dither) {
  delete dither;
}

void bitbox_dither_ip(bitbox_dither *dither, int32_t channel, int32_t is_double, void *samples, int32_t stride,
                      int32_t frames) {
  bitbox_dither_op(dither, channel, is_double, samples, stride, samples, stride, frames);
}

void bitbox_dither_op(bitbox_dither *dither, int32_t channel, int32_t is_double, const void *source,
                      int32_t source_stride, void *target, int32_t target_stride, int32_t frames) {
  if (!dither->is_shaped()) {
    const auto add_noise = is_double ? add_noise_f64 : add_noise_f32;
    return add_noise(dither, source, source_stride, target, target_stride, frames);
  }
  const auto shape = is_double ? dither_noise_shaper_op_f64 : dither_noise_shaper_op_f32;
  shape(dither, channel, source, source_stride, target, target_stride, frames);
}
