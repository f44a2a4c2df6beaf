// Real transforms with ordered spectra: the complex transform of F/2 points, even samples as real and odd ones as
// imaginary parts, whose bins are put in order by the last pass; then the spectra of both halves are untangled.
#if defined(AUSPOOL_FFT_ORDERED_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef AUSPOOL_FFT_ORDERED_INL_H_
#undef AUSPOOL_FFT_ORDERED_INL_H_
#else
#define AUSPOOL_FFT_ORDERED_INL_H_
#endif

#include <cstddef>

#include "platform/fft/passes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace auspool::fft::HWY_NAMESPACE {

// L vectors of L points, each the input of a transform of its lanes. Forward leaves in vector k the k-th bins of all.
template <class D, std::size_t kLanesOfD = kLanes<D>>
struct Square {
  Complex<D> v[1];

  HWY_INLINE void forward() {}
  HWY_INLINE void inverse() {}
};

#if HWY_TARGET != HWY_SCALAR

template <class D>
struct Square<D, 2> {
  Complex<D> v[2];

  HWY_INLINE void forward() { HalvesOfLanes<D>::forward(v[0], v[1]); }
  HWY_INLINE void inverse() { HalvesOfLanes<D>::inverse(v[0], v[1]); }
};

template <class D>
struct Square<D, 4> {
  Complex<D> v[4];

  HWY_INLINE void forward() {
    Four<D> f = {v[0], v[1], v[2], v[3]};
    transpose(f);
    f.forward();
    v[0] = f.v0, v[2] = f.v1, v[1] = f.v2, v[3] = f.v3;
  }
  HWY_INLINE void inverse() {
    Four<D> f = {v[0], v[2], v[1], v[3]};
    f.inverse();
    transpose(f);
    v[0] = f.v0, v[1] = f.v1, v[2] = f.v2, v[3] = f.v3;
  }
};

template <class D>
struct Square<D, 8> {
  Complex<D> v[8];

  HWY_INLINE void forward() {
    using Halves = HalvesOfLanes<D>;
    Halves::forward(v[0], v[4]);
    Halves::forward(v[1], v[5]);
    Halves::forward(v[2], v[6]);
    Halves::forward(v[3], v[7]);
    Four<D> even = {v[0], v[1], v[2], v[3]};
    transpose(even);
    even.forward();
    v[0] = even.v0, v[2] = even.v2;
    Four<D> odd = {v[4], v[5], v[6], v[7]};
    transpose(odd);
    odd.forward();
    v[4] = even.v1, v[6] = even.v3;
    v[1] = odd.v0, v[5] = odd.v1, v[3] = odd.v2, v[7] = odd.v3;
  }
  HWY_INLINE void inverse() {
    Four<D> even = {v[0], v[4], v[2], v[6]};
    even.inverse();
    transpose(even);
    Four<D> odd = {v[1], v[5], v[3], v[7]};
    odd.inverse();
    transpose(odd);
    v[0] = even.v0, v[1] = even.v1, v[2] = even.v2, v[3] = even.v3;
    v[4] = odd.v0, v[5] = odd.v1, v[6] = odd.v2, v[7] = odd.v3;
    using Halves = HalvesOfLanes<D>;
    Halves::inverse(v[0], v[4]);
    Halves::inverse(v[1], v[5]);
    Halves::inverse(v[2], v[6]);
    Halves::inverse(v[3], v[7]);
  }
};

#endif

// Steps between packed `z`, with sub-transforms of L points in the order of reversed bits, and rows of real and
// imaginary parts in order. A square takes those sub-transforms whose bins are neighbours: they lie far apart in `z`.
template <class D>
struct OrderedStep {
  using T = Sample<D>;
  static constexpr std::size_t kL = kLanes<D>;

  const Tables<T> &tables;
  std::size_t points;

  void forward(const T *z, T *re, T *im) const {
    for (std::size_t j = 0; j < tables.order.size(); ++j) {
      Square<D> square;
#pragma GCC unroll 8
      for (std::size_t i = 0; i < kL; ++i) square.v[i] = load_complex<D>(z + vector_of(i, j));
      square.forward();
#pragma GCC unroll 8
      for (std::size_t k = 0; k < kL; ++k) {
        store<D>(square.v[k].re, re + k * (points / kL) + j * kL);
        store<D>(square.v[k].im, im + k * (points / kL) + j * kL);
      }
    }
  }

  void inverse(const T *re, const T *im, T *z) const {
    for (std::size_t j = 0; j < tables.order.size(); ++j) {
      Square<D> square;
#pragma GCC unroll 8
      for (std::size_t k = 0; k < kL; ++k) {
        const std::size_t at = k * (points / kL) + j * kL;
        square.v[k] = {load<D>(re + at), load<D>(im + at)};
      }
      square.inverse();
#pragma GCC unroll 8
      for (std::size_t i = 0; i < kL; ++i) store<D>(square.v[i], z + vector_of(i, j));
    }
  }

private:
  HWY_INLINE std::size_t vector_of(std::size_t i, std::size_t j) const {
    constexpr std::size_t kReversed[3][8] = {{0, 1}, {0, 2, 1, 3}, {0, 4, 2, 6, 1, 5, 3, 7}};
    const std::size_t reversed = kL == 1 ? 0 : kReversed[kL == 2 ? 0 : kL == 4 ? 1 : 2][i];
    return 2 * kL * (reversed * tables.order.size() + tables.order[j]);
  }
};

// The bins of the two halves from those of the complex sequence and back, as Tail does it for a few. A vector of bins k
// goes with the one of the bins F/2 - k, read backwards. `one` and `other` below are what is even and odd in the pair.
template <class D>
struct Untangling {
  using T = Sample<D>;

  std::size_t points;  // F/2
  const T *factors;    // doubled, for D or a wider vector
  std::size_t lanes;   // of that

  // For the bins from `first` up to half of all. In place.
  void forward(T *re, T *im, std::size_t first, std::size_t end) const {
    const Real<D> half = hn::Set(D(), static_cast<T>(0.5));
    for (std::size_t k = first; k < end; k += kLanes<D>) {
      const Pair p = load_pair(re, im, k);
      const Complex<D> odd = p.difference * factor(k);
      store_pair({hn::MulAdd(half, odd.im, p.sum.re), hn::NegMulAdd(half, odd.re, p.sum.im)},
                 {hn::NegMulAdd(half, odd.im, p.sum.re), hn::NegMulSub(half, odd.re, p.sum.im)}, re, im, k);
    }
  }

  void inverse(const T *re, const T *im, T *out_re, T *out_im, std::size_t first, std::size_t end) const {
    const Real<D> half = hn::Set(D(), static_cast<T>(0.5));
    for (std::size_t k = first; k < end; k += kLanes<D>) {
      const Pair p = load_pair(re, im, k);
      const Complex<D> odd = p.difference.times_conjugate(factor(k));
      store_pair({hn::NegMulAdd(half, odd.im, p.sum.re), hn::MulAdd(half, odd.re, p.sum.im)},
                 {hn::MulAdd(half, odd.im, p.sum.re), hn::MulSub(half, odd.re, p.sum.im)}, out_re, out_im, k);
    }
  }

private:
  // Of a bin and the conjugate of its mirror image.
  struct Pair {
    Complex<D> sum, difference;
  };

  static HWY_INLINE Real<D> reverse(Real<D> v) { return hn::Reverse(D(), v); }
  HWY_INLINE std::size_t mirrored(std::size_t k) const { return points - k - (kLanes<D> - 1); }

  HWY_INLINE Pair load_pair(const T *re, const T *im, std::size_t k) const {
    const Complex<D> z = {load<D>(re + k), load<D>(im + k)};
    const Complex<D> m = {reverse(load<D>(re + mirrored(k))), reverse(load<D>(im + mirrored(k)))};
    return {{hn::Add(z.re, m.re), hn::Sub(z.im, m.im)}, {hn::Sub(z.re, m.re), hn::Add(z.im, m.im)}};
  }
  HWY_INLINE void store_pair(Complex<D> z, Complex<D> m, T *re, T *im, std::size_t k) const {
    store<D>(z.re, re + k);
    store<D>(z.im, im + k);
    store<D>(reverse(m.re), re + mirrored(k));
    store<D>(reverse(m.im), im + mirrored(k));
  }
  HWY_INLINE Complex<D> factor(std::size_t k) const {
    const T *packed = factors + k / lanes * 2 * lanes + k % lanes;
    return {load<D>(packed), load<D>(packed + lanes)};
  }
};

template <class D>
void untangle(const Tables<Sample<D>> &tables, Sample<D> *re, Sample<D> *im) {
  constexpr std::size_t kL = kLanes<D>;
  using Single = hn::CappedTag<Sample<D>, 1>;
  const std::size_t points = tables.size / 2;
  const Sample<D> *factors = tables.halves[log2(tables.size)];
  const Sample<D> dc = re[0];
  re[0] = 2 * (dc + im[0]);
  im[0] = 2 * (dc - im[0]);
  Untangling<Single>{points, factors, kL}.forward(re, im, 1, kL);
  Untangling<D>{points, factors, kL}.forward(re, im, kL, points / 2);
  re[points / 2] *= 2;
  im[points / 2] *= -2;
}

template <class D>
void tangle(const Tables<Sample<D>> &tables, const Sample<D> *re, const Sample<D> *im, Sample<D> *out_re,
            Sample<D> *out_im) {
  constexpr std::size_t kL = kLanes<D>;
  using Single = hn::CappedTag<Sample<D>, 1>;
  const std::size_t points = tables.size / 2;
  const Sample<D> *factors = tables.halves[log2(tables.size)];
  out_re[0] = re[0] + im[0];
  out_im[0] = re[0] - im[0];
  Untangling<Single>{points, factors, kL}.inverse(re, im, out_re, out_im, 1, kL);
  Untangling<D>{points, factors, kL}.inverse(re, im, out_re, out_im, kL, points / 2);
  out_re[points / 2] = 2 * re[points / 2];
  out_im[points / 2] = -2 * im[points / 2];
}

// The first pass, which takes the even and odd samples apart. `z` may not be `x`.
template <class D>
void first_pass(const Sample<D> *x, Sample<D> *z, std::size_t points, const Sample<D> *factors) {
  const std::size_t step = points / 2;
  for (std::size_t n = 0; n < step; n += 2 * kLanes<D>, factors += 6 * kLanes<D>) {
    Four<D> f;
    hn::LoadInterleaved2(D(), x + n, f.v0.re, f.v0.im);
    hn::LoadInterleaved2(D(), x + n + step, f.v1.re, f.v1.im);
    hn::LoadInterleaved2(D(), x + n + 2 * step, f.v2.re, f.v2.im);
    hn::LoadInterleaved2(D(), x + n + 3 * step, f.v3.re, f.v3.im);
    f.forward();
    turn_forward(f, factors);
    store_four(f, z + n, step);
  }
}

// And the last one back, in place: packed vectors and interleaved samples take the same room.
template <class D>
void last_pass_back(Sample<D> *z, std::size_t points, const Sample<D> *factors) {
  const std::size_t step = points / 2;
  for (std::size_t n = 0; n < step; n += 2 * kLanes<D>, factors += 6 * kLanes<D>) {
    Four<D> f = load_four<D>(z + n, step);
    turn_inverse(f, factors);
    f.inverse();
    hn::StoreInterleaved2(f.v0.re, f.v0.im, D(), z + n);
    hn::StoreInterleaved2(f.v1.re, f.v1.im, D(), z + n + step);
    hn::StoreInterleaved2(f.v2.re, f.v2.im, D(), z + n + 2 * step);
    hn::StoreInterleaved2(f.v3.re, f.v3.im, D(), z + n + 3 * step);
  }
}

template <class D>
void forward(const Tables<Sample<D>> &tables, const Sample<D> *x, Sample<D> *spectrum, Sample<D> *work) {
  const std::size_t points = tables.size / 2;
  first_pass<D>(x, work, points, tables.quarters[log2(points)]);
  const Passes<D, kLanes<D>> passes{tables, tables.pairs_2l};
  for (std::size_t j = 0; j < 4; ++j) passes.forward(work + j * points / 2, points / 4);
  OrderedStep<D>{tables, points}.forward(work, spectrum, spectrum + points);
  untangle<D>(tables, spectrum, spectrum + points);
}

template <class D>
void inverse(const Tables<Sample<D>> &tables, const Sample<D> *spectrum, Sample<D> *x, Sample<D> *work) {
  const std::size_t points = tables.size / 2;
  tangle<D>(tables, spectrum, spectrum + points, work, work + points);
  OrderedStep<D>{tables, points}.inverse(work, work + points, x);
  const Passes<D, kLanes<D>> passes{tables, tables.pairs_2l};
  for (std::size_t j = 0; j < 4; ++j) passes.inverse(x + j * points / 2, points / 4);
  last_pass_back<D>(x, points, tables.quarters[log2(points)]);
}

}  // namespace auspool::fft::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
