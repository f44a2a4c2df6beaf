#include "platform/noise.h"

#include "platform/vector/targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/noise/noise.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.
#include <hwy/highway.h>

#include <algorithm>

#include "platform/noise/jumps.h"

HWY_BEFORE_NAMESPACE();
namespace auspool::HWY_NAMESPACE {

constexpr std::uint32_t kRange = 0x7FFFFFFF;

// One value at a time.
template <bool kTriangular>
HWY_INLINE std::int32_t noise_value(std::uint32_t &state) {
  const std::uint32_t first = state = next_noise(state);
  if constexpr (!kTriangular) return static_cast<std::int32_t>(first & kRange);
  state = next_noise(first);
  return static_cast<std::int32_t>((first & kRange) - (state & kRange));
}

#if AUSPOOL_PLAIN_TARGET

template <bool kTriangular>
HWY_INLINE void noise_row(std::uint32_t &state, std::int32_t *values, std::size_t count) {
  std::uint32_t x = state;
  for (std::size_t i = 0; i < count; ++i) values[i] = noise_value<kTriangular>(x);
  state = x;
}

template <typename Real>
HWY_INLINE std::size_t add_vectors(const std::int32_t *, double, double, Real *, std::size_t) {
  return 0;
}
template <typename Real>
HWY_INLINE std::size_t scale_vectors(const std::int32_t *, double, Real *, std::size_t) {
  return 0;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

template <class D, class V = hn::Vec<D> >
HWY_INLINE V stepped(D, V x) {
  x = hn::Xor(x, hn::ShiftLeft<13>(x));
  x = hn::Xor(x, hn::ShiftRight<17>(x));
  return hn::Xor(x, hn::ShiftLeft<5>(x));
}

template <bool kTriangular, class D, class V = hn::Vec<D> >
HWY_INLINE V vector_value(D d, V &x) {
  const V range = hn::Set(d, kRange);
  x = stepped(d, x);
  const V first = hn::And(x, range);
  if constexpr (!kTriangular) return first;
  x = stepped(d, x);
  return hn::Sub(first, hn::And(x, range));
}

// The states at which some lanes begin.
template <class D, class V = hn::Vec<D> >
HWY_INLINE V lane_starts(D d, const std::uint32_t *const (&rows)[Jumps::kDigits], std::size_t lane) {
  V even = hn::Load(d, rows[0] + lane);
  V odd = hn::Load(d, rows[1] + lane);
  for (std::size_t i = 2; i < Jumps::kDigits; i += 2) {
    even = hn::Xor(even, hn::Load(d, rows[i] + lane));
    odd = hn::Xor(odd, hn::Load(d, rows[i + 1] + lane));
  }
  return hn::Xor(even, odd);
}

// Each lane makes kValuesPerLane values that follow each other, and its neighbour those behind them. In a vector each
// operation waits for the one before, so that some vectors go side by side, as many as there are registers for.
template <bool kTriangular>
HWY_INLINE void noise_tile(const Jumps &jumps, std::uint32_t state, std::int32_t *values) {
  static_assert(kValuesPerLane == 4);
  const hn::ScalableTag<std::uint32_t> d;
  using V = hn::Vec<decltype(d)>;
  constexpr std::size_t kLanes = hn::MaxLanes(d);
  constexpr std::size_t kAbreast = kLanes == 16 ? 4 : 2;
  const std::uint32_t *rows[Jumps::kDigits];
  for (std::size_t i = 0; i < Jumps::kDigits; ++i) rows[i] = jumps.row(state, i);
  for (std::size_t lane = 0; lane < kNoiseLanes; lane += kAbreast * kLanes) {
    V x[kAbreast], value[kAbreast][kValuesPerLane];
    for (std::size_t k = 0; k < kAbreast; ++k) x[k] = lane_starts(d, rows, lane + k * kLanes);
    for (std::size_t i = 0; i < kValuesPerLane; ++i) {
      for (std::size_t k = 0; k < kAbreast; ++k) value[k][i] = vector_value<kTriangular>(d, x[k]);
    }
    for (std::size_t k = 0; k < kAbreast; ++k) {
      hn::StoreInterleaved4(value[k][0], value[k][1], value[k][2], value[k][3], d,
                            reinterpret_cast<std::uint32_t *>(values) + kValuesPerLane * (lane + k * kLanes));
    }
  }
}

template <bool kTriangular>
HWY_INLINE void noise_row(std::uint32_t &state, std::int32_t *values, std::size_t count) {
  const Jumps &jumps = kTriangular ? triangular_jumps : rectangular_jumps;
  if (count == kNoiseTile) {
    noise_tile<kTriangular>(jumps, state, values);
    state = jumps.lane_start(state, kNoiseLanes);
    return;
  }
  alignas(64) std::int32_t tile[kNoiseTile];
  noise_tile<kTriangular>(jumps, state, tile);
  std::copy_n(tile, count, values);
  std::uint32_t x = jumps.lane_start(state, count / kValuesPerLane);
  for (std::size_t i = 0; i < count % kValuesPerLane; ++i) noise_value<kTriangular>(x);
  state = x;
}

// In double, as many at a time as a vector has of it.
template <class D>
HWY_INLINE hn::Vec<D> scaled(D d, const std::int32_t *noise, double bias, double amplitude) {
  const hn::Rebind<std::int32_t, D> integers;
  const auto value = hn::PromoteTo(d, hn::LoadU(integers, noise));
  return hn::Mul(hn::Add(value, hn::Set(d, bias)), hn::Set(d, amplitude));
}

template <typename Real>
HWY_INLINE std::size_t add_vectors(const std::int32_t *noise, double bias, double amplitude, Real *samples,
                                   std::size_t count) {
  const hn::ScalableTag<double> d;
  const hn::Rebind<Real, decltype(d)> reals;
  const auto add = [&](std::size_t at) HWY_ATTR {
    const auto value = scaled(d, noise + at, bias, amplitude);
    const auto sample = hn::LoadU(reals, samples + at);
    if constexpr (sizeof(Real) == 8) {
      hn::StoreU(hn::Add(sample, value), reals, samples + at);
    } else {
      hn::StoreU(hn::DemoteTo(reals, hn::Add(hn::PromoteTo(d, sample), value)), reals, samples + at);
    }
  };
  const std::size_t lanes = hn::Lanes(d);
  std::size_t i = 0;
  for (; i + 2 * lanes <= count; i += 2 * lanes) {
    add(i);
    add(i + lanes);
  }
  return i;
}

template <typename Real>
HWY_INLINE std::size_t scale_vectors(const std::int32_t *noise, double amplitude, Real *out, std::size_t count) {
  const hn::ScalableTag<double> d;
  const hn::Rebind<Real, decltype(d)> reals;
  std::size_t i = 0;
  for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
    const auto value = scaled(d, noise + i, 0.0, amplitude);
    if constexpr (sizeof(Real) == 8) {
      hn::StoreU(value, reals, out + i);
    } else {
      hn::StoreU(hn::DemoteTo(reals, value), reals, out + i);
    }
  }
  return i;
}

#endif

template <typename Real>
HWY_INLINE void add_row(const std::int32_t *noise, double bias, double amplitude, Real *samples, std::size_t count) {
  for (std::size_t i = add_vectors(noise, bias, amplitude, samples, count); i < count; ++i) {
    samples[i] = static_cast<Real>(static_cast<double>(samples[i]) + (noise[i] + bias) * amplitude);
  }
}

template <typename Real>
HWY_INLINE void scale_row(const std::int32_t *noise, double amplitude, Real *out, std::size_t count) {
  for (std::size_t i = scale_vectors(noise, amplitude, out, count); i < count; ++i) {
    out[i] = static_cast<Real>(noise[i] * amplitude);
  }
}

void rectangular_row(std::uint32_t &state, std::int32_t *values, std::size_t count) {
  noise_row<false>(state, values, count);
}
void triangular_row(std::uint32_t &state, std::int32_t *values, std::size_t count) {
  noise_row<true>(state, values, count);
}
void add_float(const std::int32_t *noise, double bias, double amplitude, float *samples, std::size_t count) {
  add_row(noise, bias, amplitude, samples, count);
}
void add_double(const std::int32_t *noise, double bias, double amplitude, double *samples, std::size_t count) {
  add_row(noise, bias, amplitude, samples, count);
}
void scale_float(const std::int32_t *noise, double amplitude, float *out, std::size_t count) {
  scale_row(noise, amplitude, out, count);
}
void scale_double(const std::int32_t *noise, double amplitude, double *out, std::size_t count) {
  scale_row(noise, amplitude, out, count);
}

}  // namespace auspool::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace auspool {

HWY_EXPORT(rectangular_row);
HWY_EXPORT(triangular_row);
HWY_EXPORT(add_float);
HWY_EXPORT(add_double);
HWY_EXPORT(scale_float);
HWY_EXPORT(scale_double);

void rectangular_noise(std::uint32_t &state, std::int32_t *values, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(rectangular_row)(state, values, count);
}
void triangular_noise(std::uint32_t &state, std::int32_t *values, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(triangular_row)(state, values, count);
}

template <>
void add_noise(const std::int32_t *noise, double bias, double amplitude, float *samples, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(add_float)(noise, bias, amplitude, samples, count);
}
template <>
void add_noise(const std::int32_t *noise, double bias, double amplitude, double *samples, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(add_double)(noise, bias, amplitude, samples, count);
}
template <>
void scale_noise(const std::int32_t *noise, double amplitude, float *out, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(scale_float)(noise, amplitude, out, count);
}
template <>
void scale_noise(const std::int32_t *noise, double amplitude, double *out, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(scale_double)(noise, amplitude, out, count);
}

}  // namespace auspool
#endif
