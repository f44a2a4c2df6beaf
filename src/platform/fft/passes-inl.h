// Complex transforms in place, as passes of decimation in frequency and, on the way back, in time. Between the passes
// the order of the bins is that of reversed bits. `z` is packed by vectors; a point takes two samples.
#if defined(AUSPOOL_FFT_PASSES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef AUSPOOL_FFT_PASSES_INL_H_
#undef AUSPOOL_FFT_PASSES_INL_H_
#else
#define AUSPOOL_FFT_PASSES_INL_H_
#endif

#include <bit>
#include <cstddef>

#include "platform/fft/complex-inl.h"
#include "platform/fft/tables.h"

HWY_BEFORE_NAMESPACE();
namespace auspool::fft::HWY_NAMESPACE {

HWY_INLINE std::size_t log2(std::size_t n) {
  return static_cast<std::size_t>(std::countr_zero(n));
}

// The factors of three of the four results of a radix-4 pass, in the order of the results.
template <class D>
HWY_INLINE void turn_forward(Four<D> &f, const Sample<D> *factors) {
  constexpr std::size_t kNext = 2 * kLanes<D>;
  f.v1 = f.v1 * load_complex<D>(factors + kNext);
  f.v2 = f.v2 * load_complex<D>(factors);
  f.v3 = f.v3 * load_complex<D>(factors + 2 * kNext);
}

template <class D>
HWY_INLINE void turn_inverse(Four<D> &f, const Sample<D> *factors) {
  constexpr std::size_t kNext = 2 * kLanes<D>;
  f.v1 = f.v1.times_conjugate(load_complex<D>(factors + kNext));
  f.v2 = f.v2.times_conjugate(load_complex<D>(factors));
  f.v3 = f.v3.times_conjugate(load_complex<D>(factors + 2 * kNext));
}

template <class D>
HWY_INLINE Four<D> load_four(const Sample<D> *p, std::size_t step) {
  return {load_complex<D>(p), load_complex<D>(p + step), load_complex<D>(p + 2 * step), load_complex<D>(p + 3 * step)};
}

template <class D>
HWY_INLINE void store_four(const Four<D> &f, Sample<D> *p, std::size_t step) {
  store<D>(f.v0, p);
  store<D>(f.v1, p + step);
  store<D>(f.v2, p + 2 * step);
  store<D>(f.v3, p + 3 * step);
}

// The passes run over one transform of `points` after the other, from `z` to `end`.
template <class D>
void radix4_forward(Sample<D> *z, const Sample<D> *end, std::size_t points, const Sample<D> *factors) {
  const std::size_t step = points / 2;
  for (; z < end; z += 4 * step) {
    const Sample<D> *next = factors;
    for (std::size_t n = 0; n < step; n += 2 * kLanes<D>, next += 6 * kLanes<D>) {
      Four<D> f = load_four<D>(z + n, step);
      f.forward();
      turn_forward(f, next);
      store_four(f, z + n, step);
    }
  }
}

template <class D>
void radix4_inverse(Sample<D> *z, const Sample<D> *end, std::size_t points, const Sample<D> *factors) {
  const std::size_t step = points / 2;
  for (; z < end; z += 4 * step) {
    const Sample<D> *next = factors;
    for (std::size_t n = 0; n < step; n += 2 * kLanes<D>, next += 6 * kLanes<D>) {
      Four<D> f = load_four<D>(z + n, step);
      turn_inverse(f, next);
      f.inverse();
      store_four(f, z + n, step);
    }
  }
}

template <class D>
void radix2_forward(Sample<D> *z, const Sample<D> *end, std::size_t points, const Sample<D> *factors) {
  for (; z < end; z += 2 * points) {
    for (std::size_t n = 0; n < points; n += 2 * kLanes<D>) {
      const Complex<D> a = load_complex<D>(z + n);
      const Complex<D> b = load_complex<D>(z + points + n);
      store<D>(a + b, z + n);
      store<D>((a - b) * load_complex<D>(factors + n), z + points + n);
    }
  }
}

template <class D>
void radix2_inverse(Sample<D> *z, const Sample<D> *end, std::size_t points, const Sample<D> *factors) {
  for (; z < end; z += 2 * points) {
    for (std::size_t n = 0; n < points; n += 2 * kLanes<D>) {
      const Complex<D> a = load_complex<D>(z + n);
      const Complex<D> b = load_complex<D>(z + points + n).times_conjugate(load_complex<D>(factors + n));
      store<D>(a + b, z + n);
      store<D>(a - b, z + points + n);
    }
  }
}

// Transforms of `points` are cut into such of kStop points, which something else finishes (or has begun). Long ones are
// done a quarter after the other, so that most of the work is on data that the first-level cache holds.
template <class D, std::size_t kStop>
struct Passes {
  using T = Sample<D>;

  static constexpr std::size_t kInCache = 16384 / (2 * sizeof(T));

  const Tables<T> &tables;
  const T *pairs;  // the factors of a radix-2 pass over 2 * kStop points

  void forward(T *z, std::size_t points) const {
    const T *end = z + 2 * points;
    if (points > kInCache) {
      radix4_forward<D>(z, end, points, tables.quarters[log2(points)]);
      for (std::size_t j = 0; j < 4; ++j) forward(z + j * points / 2, points / 4);
      return;
    }
    std::size_t m = points;
    for (; m >= 4 * kStop; m /= 4) radix4_forward<D>(z, end, m, tables.quarters[log2(m)]);
    if (m == 2 * kStop) radix2_forward<D>(z, end, m, pairs);
  }

  void inverse(T *z, std::size_t points) const {
    const T *end = z + 2 * points;
    if (points > kInCache) {
      for (std::size_t j = 0; j < 4; ++j) inverse(z + j * points / 2, points / 4);
      radix4_inverse<D>(z, end, points, tables.quarters[log2(points)]);
      return;
    }
    std::size_t m = kStop;
    if (log2(points / kStop) % 2 != 0) radix2_inverse<D>(z, end, m *= 2, pairs);
    for (m *= 4; m <= points; m *= 4) radix4_inverse<D>(z, end, m, tables.quarters[log2(m)]);
  }
};

// The last passes of transforms in no particular order: four vectors, in registers.
template <class D>
void blocks_forward(Sample<D> *z, std::size_t points, const Sample<D> *factors) {
  for (Sample<D> *end = z + 2 * points; z < end; z += 8 * kLanes<D>) {
    Four<D> f = load_four<D>(z, 2 * kLanes<D>);
    f.forward();
    turn_forward(f, factors);
    Lanes<D>::forward(f);
    store_four(f, z, 2 * kLanes<D>);
  }
}

// `load(n)` gives the complex vector that stands at sample n.
template <class D, class Load>
void blocks_inverse(const Load &load, Sample<D> *z, std::size_t points, const Sample<D> *factors) {
  constexpr std::size_t kStep = 2 * kLanes<D>;
  for (std::size_t n = 0; n < 2 * points; n += 4 * kStep) {
    Four<D> f = {load(n), load(n + kStep), load(n + 2 * kStep), load(n + 3 * kStep)};
    Lanes<D>::inverse(f);
    turn_inverse(f, factors);
    f.inverse();
    store_four(f, z + n, kStep);
  }
}

}  // namespace auspool::fft::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
