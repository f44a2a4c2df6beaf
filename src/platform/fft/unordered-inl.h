// Real transforms with spectra in no particular order.
//
// A real sequence x of R points gives its even bins as the real transform of R/2 points x[n] + x[n + R/2], and of its
// odd bins every other one (the rest are their conjugates) as the complex transform of R/4 points
//   ((x[n] - x[n + R/2]) - i (x[n + R/4] - x[n + 3R/4])) exp(-2 pi i n / R).
// Taken on, that leaves complex transforms of F/4, F/8 ... points, without the pass that untangles two real halves, and
// in convolution their bins need no order. The spectrum of F samples holds the complex transform of R/4 points in its
// samples R/2 to R, for R from F down to 16 L, and in its first 8 L samples what `Tail` makes of the last 8 L real
// points.
#if defined(AUSPOOL_FFT_UNORDERED_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef AUSPOOL_FFT_UNORDERED_INL_H_
#undef AUSPOOL_FFT_UNORDERED_INL_H_
#else
#define AUSPOOL_FFT_UNORDERED_INL_H_
#endif

#include <algorithm>
#include <cstddef>

#include "platform/fft/passes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace auspool::fft::HWY_NAMESPACE {

// The differences (a - c) - i (b - e), turned.
template <class D>
HWY_INLINE Complex<D> differences(Real<D> a, Real<D> b, Real<D> c, Real<D> e, Complex<D> factor) {
  const Complex<D> difference = {hn::Sub(a, c), hn::Sub(e, b)};
  return difference * factor;
}

// One step as above: `real` gets the R/2 real points, `z` the R/4 complex ones. `real` may be `x`.
template <class D>
void split(const Sample<D> *x, Sample<D> *real, Sample<D> *z, std::size_t points, const Sample<D> *factors) {
  const std::size_t quarter = points / 4;
  for (std::size_t n = 0; n < quarter; n += kLanes<D>) {
    const Real<D> a = load<D>(x + n);
    const Real<D> b = load<D>(x + quarter + n);
    const Real<D> c = load<D>(x + 2 * quarter + n);
    const Real<D> e = load<D>(x + 3 * quarter + n);
    store<D>(hn::Add(a, c), real + n);
    store<D>(hn::Add(b, e), real + quarter + n);
    store<D>(differences<D>(a, b, c, e, load_complex<D>(factors + 2 * n)), z + 2 * n);
  }
}

// And back. The R/2 real points are the first of `x`.
template <class D>
void merge(Sample<D> *x, const Sample<D> *z, std::size_t points, const Sample<D> *factors) {
  const std::size_t quarter = points / 4;
  for (std::size_t n = 0; n < quarter; n += kLanes<D>) {
    const Complex<D> difference = load_complex<D>(z + 2 * n).times_conjugate(load_complex<D>(factors + 2 * n));
    const Real<D> a = load<D>(x + n);
    const Real<D> b = load<D>(x + quarter + n);
    store<D>(hn::Add(a, difference.re), x + n);
    store<D>(hn::Sub(b, difference.im), x + quarter + n);
    store<D>(hn::Sub(a, difference.re), x + 2 * quarter + n);
    store<D>(hn::Add(b, difference.im), x + 3 * quarter + n);
  }
}

// The last 8 L real points: splits down to 2 L points give complex transforms of 2 L and of L points; the last 2 L are
// transformed as L complex ones, even and odd points, and untangled, one by one because they are few. All four are
// transforms of lanes in the end. In the first bin of the fourth stand the two real bins of the whole.
template <class D>
struct Tail {
  using T = Sample<D>;
  static constexpr std::size_t kL = kLanes<D>;

  const Tables<T> &tables;

  void forward(const T *x, T *spectrum) const {
    HWY_ALIGN T points[8 * kL];
    HWY_ALIGN T c1[4 * kL];
    HWY_ALIGN T c2[2 * kL];
    split<D>(x, points, c1, 8 * kL, tables.halves[log2(8 * kL)]);
    split<D>(points, points, c2, 4 * kL, tables.halves[log2(4 * kL)]);
    radix2_forward<D>(c1, c1 + 4 * kL, 2 * kL, tables.pairs_2l);
    HWY_ALIGN T packed[2 * kL];
    for (std::size_t n = 0; n < kL; ++n) {
      packed[n] = points[2 * n];
      packed[kL + n] = points[2 * n + 1];
    }
    Four<D> f = {load_complex<D>(packed), load_complex<D>(c2), load_complex<D>(c1), load_complex<D>(c1 + 2 * kL)};
    Lanes<D>::forward(f);
    store_four(f, spectrum, 2 * kL);
    untangle(spectrum);
  }

  void inverse(const T *spectrum, T *x) const {
    HWY_ALIGN T bins[8 * kL];
    HWY_ALIGN T c1[4 * kL];
    HWY_ALIGN T c2[2 * kL];
    std::copy_n(spectrum, 8 * kL, bins);
    tangle(bins);
    Four<D> f = load_four<D>(bins, 2 * kL);
    Lanes<D>::inverse(f);
    store<D>(f.v0, bins);
    store<D>(f.v1, c2);
    store<D>(f.v2, c1);
    store<D>(f.v3, c1 + 2 * kL);
    for (std::size_t n = 0; n < kL; ++n) {
      x[2 * n] = bins[n];
      x[2 * n + 1] = bins[kL + n];
    }
    radix2_inverse<D>(c1, c1 + 4 * kL, 2 * kL, tables.pairs_2l);
    merge<D>(x, c2, 4 * kL, tables.halves[log2(4 * kL)]);
    merge<D>(x, c1, 8 * kL, tables.halves[log2(8 * kL)]);
  }

private:
  struct Bin {
    T &re, &im;
  };
  static HWY_INLINE Bin bin(T *spectrum, std::size_t m) {
    T *re = spectrum + Lanes<D>::bin_of_first(m);
    return {*re, re[kL]};
  }

  // From the bins z of e + i o, with the even points e and the odd ones o, twice those of the sequence.
  void untangle(T *spectrum) const {
    const auto [dc, nyquist] = bin(spectrum, 0);
    const T sum = dc + nyquist;
    nyquist = 2 * (dc - nyquist);
    dc = 2 * sum;
    for (std::size_t m = 1; 2 * m < kL; ++m) {
      const Bin z = bin(spectrum, m);
      const Bin mirrored = bin(spectrum, kL - m);
      const T even_re = z.re + mirrored.re;
      const T even_im = z.im - mirrored.im;
      const T difference_re = z.re - mirrored.re;
      const T difference_im = z.im + mirrored.im;
      const T odd_re = difference_re * root(m) - difference_im * root(kL + m);
      const T odd_im = difference_re * root(kL + m) + difference_im * root(m);
      z.re = even_re + odd_im;
      z.im = even_im - odd_re;
      mirrored.re = even_re - odd_im;
      mirrored.im = -even_im - odd_re;
    }
    if constexpr (kL > 1) {
      const Bin middle = bin(spectrum, kL / 2);
      middle.re *= 2;
      middle.im *= -2;
    }
  }

  void tangle(T *spectrum) const {
    const auto [dc, nyquist] = bin(spectrum, 0);
    const T sum = dc + nyquist;
    nyquist = dc - nyquist;
    dc = sum;
    for (std::size_t m = 1; 2 * m < kL; ++m) {
      const Bin z = bin(spectrum, m);
      const Bin mirrored = bin(spectrum, kL - m);
      const T even_re = z.re + mirrored.re;
      const T even_im = z.im - mirrored.im;
      const T difference_re = z.re - mirrored.re;
      const T difference_im = z.im + mirrored.im;
      const T odd_re = difference_re * root(m) + difference_im * root(kL + m);
      const T odd_im = difference_im * root(m) - difference_re * root(kL + m);
      z.re = even_re - odd_im;
      z.im = even_im + odd_re;
      mirrored.re = even_re + odd_im;
      mirrored.im = odd_re - even_im;
    }
    if constexpr (kL > 1) {
      const Bin middle = bin(spectrum, kL / 2);
      middle.re *= 2;
      middle.im *= -2;
    }
  }

  HWY_INLINE T root(std::size_t i) const { return tables.pairs_2l[i]; }
};

// `work` may be `x`: the first split reads all of it that a later one writes.
template <class D>
void forward_unordered(const Tables<Sample<D>> &tables, const Sample<D> *x, Sample<D> *spectrum, Sample<D> *work) {
  constexpr std::size_t kL = kLanes<D>;
  const Passes<D, 4 * kL> passes{tables, tables.pairs_8l};
  for (std::size_t r = tables.size; r > 8 * kL; r /= 2, x = work) {
    Sample<D> *z = spectrum + r / 2;
    split<D>(x, work, z, r, tables.halves[log2(r)]);
    passes.forward(z, r / 4);
    blocks_forward<D>(z, r / 4, tables.quarters[log2(4 * kL)]);
  }
  Tail<D>{tables}.forward(x, spectrum);
}

// The product of two spectra, added to `out` if kAdd. Their first bin is two real numbers.
template <class D, bool kAdd>
void multiply_unordered(std::size_t size, const Sample<D> *a, const Sample<D> *b, Sample<D> *out) {
  constexpr std::size_t kL = kLanes<D>;
  const Sample<D> dc = a[0] * b[0] + (kAdd ? out[0] : 0);
  const Sample<D> nyquist = a[kL] * b[kL] + (kAdd ? out[kL] : 0);
  for (std::size_t n = 0; n < size; n += 2 * kL) {
    Complex<D> product = load_complex<D>(a + n) * load_complex<D>(b + n);
    if constexpr (kAdd) product = product + load_complex<D>(out + n);
    store<D>(product, out + n);
  }
  out[0] = dc;
  out[kL] = nyquist;
}

// The sum of the products of several spectra with those that lie behind one another from `b` on, added to `out` if
// `adds`. Four at a time: more streams than that the processor does not fetch ahead, and fewer pass over `out` too
// often.
template <class D>
void multiply_sum_unordered(std::size_t size, const Sample<D> *const *a, const Sample<D> *b, std::size_t count,
                            bool adds, Sample<D> *out) {
  constexpr std::size_t kL = kLanes<D>;
  std::size_t k = 0;
  for (; k + 4 <= count; k += 4, b += 4 * size, adds = true) {
    Sample<D> dc = adds ? out[0] : 0;
    Sample<D> nyquist = adds ? out[kL] : 0;
    for (std::size_t j = 0; j < 4; ++j) {
      dc += a[k + j][0] * b[j * size];
      nyquist += a[k + j][kL] * b[j * size + kL];
    }
    for (std::size_t n = 0; n < size; n += 2 * kL) {
      Complex<D> sum = load_complex<D>(a[k] + n) * load_complex<D>(b + n);
      if (adds) sum = sum + load_complex<D>(out + n);
      for (std::size_t j = 1; j < 4; ++j) {
        sum = load_complex<D>(a[k + j] + n).times_plus(load_complex<D>(b + j * size + n), sum);
      }
      store<D>(sum, out + n);
    }
    out[0] = dc;
    out[kL] = nyquist;
  }
  for (; k < count; ++k, b += size, adds = true) {
    adds ? multiply_unordered<D, true>(size, a[k], b, out) : multiply_unordered<D, false>(size, a[k], b, out);
  }
}

// What a way back begins with: a spectrum.
template <class D>
struct Spectrum {
  const Sample<D> *bins;

  HWY_INLINE Complex<D> operator()(std::size_t n) const { return load_complex<D>(bins + n); }
  HWY_INLINE Spectrum from(std::size_t n) const { return {bins + n}; }
  HWY_INLINE void tail(const Tail<D> &tail, Sample<D> *x) const { tail.inverse(bins, x); }
};

// Or the product of two, which is never stored.
template <class D>
struct Product {
  const Sample<D> *a, *b;

  HWY_INLINE Complex<D> operator()(std::size_t n) const { return load_complex<D>(a + n) * load_complex<D>(b + n); }
  HWY_INLINE Product from(std::size_t n) const { return {a + n, b + n}; }
  HWY_INLINE void tail(const Tail<D> &tail, Sample<D> *x) const {
    HWY_ALIGN Sample<D> bins[8 * kLanes<D>];
    multiply_unordered<D, false>(8 * kLanes<D>, a, b, bins);
    tail.inverse(bins, x);
  }
};

// `x` may be the spectrum: each step writes only what it and earlier ones have read.
template <class D, class Source>
void take_back(const Tables<Sample<D>> &tables, const Source &source, Sample<D> *x, Sample<D> *work) {
  constexpr std::size_t kL = kLanes<D>;
  const Passes<D, 4 * kL> passes{tables, tables.pairs_8l};
  source.tail(Tail<D>{tables}, x);
  for (std::size_t r = 16 * kL; r <= tables.size; r *= 2) {
    blocks_inverse<D>(source.from(r / 2), work, r / 4, tables.quarters[log2(4 * kL)]);
    passes.inverse(work, r / 4);
    merge<D>(x, work, r, tables.halves[log2(r)]);
  }
}

template <class D>
void inverse_unordered(const Tables<Sample<D>> &tables, const Sample<D> *spectrum, Sample<D> *x, Sample<D> *work) {
  take_back<D>(tables, Spectrum<D>{spectrum}, x, work);
}

template <class D>
void inverse_product(const Tables<Sample<D>> &tables, const Sample<D> *a, const Sample<D> *b, Sample<D> *x,
                     Sample<D> *work) {
  take_back<D>(tables, Product<D>{a, b}, x, work);
}

}  // namespace auspool::fft::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
