#include "platform/spectrum_levels.h"

#include "platform/vector/targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/spectrum_levels.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.
#include <hwy/contrib/math/math-inl.h>
#include <hwy/highway.h>

#include <cmath>

HWY_BEFORE_NAMESPACE();
namespace auspool::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr float kSmallestPower = 1e-8f;

#if !AUSPOOL_PLAIN_TARGET
constexpr std::size_t kLanes = hn::MaxLanes(hn::ScalableTag<float>());
#endif

void window_row(const float *samples, const float *window, float *out, std::size_t count) {
  std::size_t i = 0;
#if !AUSPOOL_PLAIN_TARGET
  const hn::ScalableTag<float> d;
  for (; i + kLanes <= count; i += kLanes) {
    hn::StoreU(hn::Mul(hn::LoadU(d, samples + i), hn::LoadU(d, window + i)), d, out + i);
  }
#endif
  for (; i < count; ++i) out[i] = samples[i] * window[i];
}

void add_power_row(const float *real, const float *imaginary, float scale, float *powers, std::size_t count) {
  std::size_t i = 0;
#if !AUSPOOL_PLAIN_TARGET
  const hn::ScalableTag<float> d;
  const auto scales = hn::Set(d, scale);
  const auto one = hn::Set(d, 1.0f);
  for (; i + kLanes <= count; i += kLanes) {
    const auto re = hn::Mul(scales, hn::LoadU(d, real + i));
    const auto im = hn::Mul(scales, hn::LoadU(d, imaginary + i));
    const auto power = hn::Add(hn::Mul(re, re), hn::Mul(im, im));
    const auto held = hn::IfThenElse(hn::Gt(power, one), one, power);
    hn::StoreU(hn::Add(hn::LoadU(d, powers + i), held), d, powers + i);
  }
#endif
  for (; i < count; ++i) {
    const float re = scale * real[i];
    const float im = scale * imaginary[i];
    const float power = re * re + im * im;
    powers[i] += power > 1.0f ? 1.0f : power;
  }
}

void fall_row(float *levels, float decibels, std::size_t count) {
  std::size_t i = 0;
#if !AUSPOOL_PLAIN_TARGET
  const hn::ScalableTag<float> d;
  const auto floor = hn::Set(d, kSpectrumFloor);
  const auto step = hn::Set(d, decibels);
  for (; i + kLanes <= count; i += kLanes) {
    const auto level = hn::LoadU(d, levels + i);
    hn::StoreU(hn::IfThenElse(hn::Lt(level, floor), floor, hn::Sub(level, step)), d, levels + i);
  }
#endif
  for (; i < count; ++i) levels[i] = levels[i] < kSpectrumFloor ? kSpectrumFloor : levels[i] - decibels;
}

void raise_row(const float *powers, float divisor, float *levels, std::size_t count) {
  std::size_t i = 0;
#if !AUSPOOL_PLAIN_TARGET
  const hn::ScalableTag<float> d;
  for (; i + kLanes <= count; i += kLanes) {
    const auto power = hn::Div(hn::LoadU(d, powers + i), hn::Set(d, divisor));
    const auto loud = hn::Mul(hn::Set(d, 10.0f), hn::Log10(d, power));
    const auto quiet = hn::Lt(power, hn::Set(d, kSmallestPower));
    const auto measured = hn::IfThenElse(quiet, hn::Set(d, kSpectrumFloor), loud);
    const auto level = hn::LoadU(d, levels + i);
    // The logarithm of NaN is some number here.
    const auto rises = hn::And(hn::Gt(measured, level), hn::Eq(power, power));
    hn::StoreU(hn::IfThenElse(rises, measured, level), d, levels + i);
  }
#endif
  for (; i < count; ++i) {
    const float power = powers[i] / divisor;
    const float measured = power < kSmallestPower ? kSpectrumFloor : 10 * std::log10(power);
    levels[i] = measured > levels[i] ? measured : levels[i];
  }
}

}  // namespace auspool::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace auspool {

HWY_EXPORT(window_row);
HWY_EXPORT(add_power_row);
HWY_EXPORT(fall_row);
HWY_EXPORT(raise_row);

void apply_window(const float *samples, const float *window, float *out, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(window_row)(samples, window, out, count);
}
void add_powers(const float *real, const float *imaginary, float scale, float *powers, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(add_power_row)(real, imaginary, scale, powers, count);
}
void fall_levels(float *levels, float decibels, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(fall_row)(levels, decibels, count);
}
void raise_levels(const float *powers, float divisor, float *levels, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(raise_row)(powers, divisor, levels, count);
}

}  // namespace auspool
#endif
