// Vectors of complex numbers, and the transforms of four points and of the lanes of a vector.
#if defined(AUSPOOL_FFT_COMPLEX_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef AUSPOOL_FFT_COMPLEX_INL_H_
#undef AUSPOOL_FFT_COMPLEX_INL_H_
#else
#define AUSPOOL_FFT_COMPLEX_INL_H_
#endif

#include <cstddef>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace auspool::fft::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// D is the kind of vector everywhere: its sample type and number of lanes.
template <class D>
constexpr std::size_t kLanes = hn::MaxLanes(D());
template <class D>
using Sample = hn::TFromD<D>;
template <class D>
using Real = hn::Vec<D>;

template <class D>
struct Complex {
  Real<D> re, im;

  HWY_INLINE Complex operator+(Complex b) const { return {hn::Add(re, b.re), hn::Add(im, b.im)}; }
  HWY_INLINE Complex operator-(Complex b) const { return {hn::Sub(re, b.re), hn::Sub(im, b.im)}; }
  HWY_INLINE Complex operator*(Complex b) const {
    return {hn::NegMulAdd(im, b.im, hn::Mul(re, b.re)), hn::MulAdd(im, b.re, hn::Mul(re, b.im))};
  }
  HWY_INLINE Complex times_plus(Complex b, Complex c) const {
    return {hn::NegMulAdd(im, b.im, hn::MulAdd(re, b.re, c.re)), hn::MulAdd(im, b.re, hn::MulAdd(re, b.im, c.im))};
  }
  HWY_INLINE Complex times_conjugate(Complex b) const {
    return {hn::MulAdd(im, b.im, hn::Mul(re, b.re)), hn::NegMulAdd(re, b.im, hn::Mul(im, b.re))};
  }
  HWY_INLINE Complex plus_i_times(Complex b) const { return {hn::Sub(re, b.im), hn::Add(im, b.re)}; }
  HWY_INLINE Complex minus_i_times(Complex b) const { return {hn::Add(re, b.im), hn::Sub(im, b.re)}; }
};

// The arrays of a host need no alignment.
template <class D>
HWY_INLINE Real<D> load(const Sample<D> *p) {
  return hn::LoadU(D(), p);
}
template <class D>
HWY_INLINE void store(Real<D> v, Sample<D> *p) {
  hn::StoreU(v, D(), p);
}
template <class D>
HWY_INLINE Complex<D> load_complex(const Sample<D> *p) {
  return {load<D>(p), load<D>(p + kLanes<D>)};
}
template <class D>
HWY_INLINE void store(Complex<D> v, Sample<D> *p) {
  store<D>(v.re, p);
  store<D>(v.im, p + kLanes<D>);
}

// Four points at once in each lane. The results stand in the order 0, 2, 1, 3 of their bins: bits reversed.
template <class D>
struct Four {
  Complex<D> v0, v1, v2, v3;

  HWY_INLINE void forward() {
    const Complex<D> even_sum = v0 + v2;
    const Complex<D> even_difference = v0 - v2;
    const Complex<D> odd_sum = v1 + v3;
    const Complex<D> odd_difference = v1 - v3;
    v0 = even_sum + odd_sum;
    v1 = even_sum - odd_sum;
    v2 = even_difference.minus_i_times(odd_difference);
    v3 = even_difference.plus_i_times(odd_difference);
  }

  HWY_INLINE void inverse() {
    const Complex<D> even = v0 + v1;
    const Complex<D> even_difference = v0 - v1;
    const Complex<D> odd = v2 + v3;
    const Complex<D> odd_difference = v2 - v3;
    v0 = even + odd;
    v1 = even_difference.plus_i_times(odd_difference);
    v2 = even - odd;
    v3 = even_difference.minus_i_times(odd_difference);
  }
};

// The transforms of the lanes of four vectors. Bin m of the first of them ends at sample `bin_of_first(m)`, counted
// from the first of the four packed vectors.
template <class D, std::size_t kLanesOfD = kLanes<D>>
struct Lanes;

template <class D>
struct Lanes<D, 1> {
  static HWY_INLINE void forward(Four<D> &) {}
  static HWY_INLINE void inverse(Four<D> &) {}
  static constexpr std::size_t bin_of_first(std::size_t) { return 0; }
};

#if HWY_TARGET != HWY_SCALAR  // which has no lanes to shuffle

// From four vectors of four lanes, or of blocks of four lanes, their lanes as vectors; and back, which is the same.
template <class D>
HWY_INLINE void transpose(Real<D> &a, Real<D> &b, Real<D> &c, Real<D> &e) {
  const D d;
  const auto low_ab = hn::InterleaveLower(d, a, b);
  const auto high_ab = hn::InterleaveUpper(d, a, b);
  const auto low_ce = hn::InterleaveLower(d, c, e);
  const auto high_ce = hn::InterleaveUpper(d, c, e);
  if constexpr (sizeof(Sample<D>) == 8) {  // blocks are of two lanes: the halves are a block each
    a = hn::ConcatLowerLower(d, low_ce, low_ab);
    b = hn::ConcatLowerLower(d, high_ce, high_ab);
    c = hn::ConcatUpperUpper(d, low_ce, low_ab);
    e = hn::ConcatUpperUpper(d, high_ce, high_ab);
  } else {
    const hn::Repartition<double, D> pairs;
    const auto low0 = hn::BitCast(pairs, low_ab);
    const auto low1 = hn::BitCast(pairs, low_ce);
    const auto high0 = hn::BitCast(pairs, high_ab);
    const auto high1 = hn::BitCast(pairs, high_ce);
    a = hn::BitCast(d, hn::InterleaveLower(pairs, low0, low1));
    b = hn::BitCast(d, hn::InterleaveUpper(pairs, low0, low1));
    c = hn::BitCast(d, hn::InterleaveLower(pairs, high0, high1));
    e = hn::BitCast(d, hn::InterleaveUpper(pairs, high0, high1));
  }
}

template <class D>
HWY_INLINE void transpose(Four<D> &f) {
  transpose<D>(f.v0.re, f.v1.re, f.v2.re, f.v3.re);
  transpose<D>(f.v0.im, f.v1.im, f.v2.im, f.v3.im);
}

// The transform of two points that are the lower and the upper half of the lanes, of two vectors at once: `a` gets the
// even bins of both, `b` the odd ones, each ready for transforms of half as many points.
template <class D>
struct HalvesOfLanes {
  static_assert(kLanes<D> == 8 || kLanes<D> == 2);
  static HWY_INLINE void forward(Complex<D> &a, Complex<D> &b) {
    const Complex<D> lower = {lower_lower(a.re, b.re), lower_lower(a.im, b.im)};
    const Complex<D> upper = {upper_upper(a.re, b.re), upper_upper(a.im, b.im)};
    a = lower + upper;
    b = lower - upper;
    if constexpr (kLanes<D> == 8) b = b * eighths();
  }

  static HWY_INLINE void inverse(Complex<D> &a, Complex<D> &b) {
    if constexpr (kLanes<D> == 8) b = b.times_conjugate(eighths());
    const Complex<D> lower = a + b;
    const Complex<D> upper = a - b;
    a = {lower_lower(lower.re, upper.re), lower_lower(lower.im, upper.im)};
    b = {upper_upper(lower.re, upper.re), upper_upper(lower.im, upper.im)};
  }

private:
  // exp(-2 pi i n / 8) for n below 4, for each half.
  static HWY_INLINE Complex<D> eighths() {
    constexpr auto h = static_cast<Sample<D>>(0.70710678118654752440);
    HWY_ALIGN static constexpr Sample<D> kEighths[16] = {1, h, 0, -h, 1, h, 0, -h, 0, -h, -1, -h, 0, -h, -1, -h};
    return load_complex<D>(kEighths);
  }
  static HWY_INLINE Real<D> lower_lower(Real<D> a, Real<D> b) { return hn::ConcatLowerLower(D(), b, a); }
  static HWY_INLINE Real<D> upper_upper(Real<D> a, Real<D> b) { return hn::ConcatUpperUpper(D(), b, a); }
};

template <class D>
struct Lanes<D, 2> {
  using Halves = HalvesOfLanes<D>;

  static HWY_INLINE void forward(Four<D> &f) {
    Halves::forward(f.v0, f.v1);
    Halves::forward(f.v2, f.v3);
  }
  static HWY_INLINE void inverse(Four<D> &f) {
    Halves::inverse(f.v0, f.v1);
    Halves::inverse(f.v2, f.v3);
  }
  static constexpr std::size_t bin_of_first(std::size_t m) { return 4 * m; }
};

constexpr std::size_t kFourReversed[4] = {0, 2, 1, 3};

template <class D>
struct Lanes<D, 4> {
  static HWY_INLINE void forward(Four<D> &f) {
    transpose(f);
    f.forward();
  }
  static HWY_INLINE void inverse(Four<D> &f) {
    f.inverse();
    transpose(f);
  }
  static constexpr std::size_t bin_of_first(std::size_t m) { return kFourReversed[m] * 8; }
};

template <class D>
struct Lanes<D, 8> {
  using Halves = HalvesOfLanes<D>;

  static HWY_INLINE void forward(Four<D> &f) {
    Halves::forward(f.v0, f.v1);
    Halves::forward(f.v2, f.v3);
    transpose(f);
    f.forward();
  }
  static HWY_INLINE void inverse(Four<D> &f) {
    f.inverse();
    transpose(f);
    Halves::inverse(f.v0, f.v1);
    Halves::inverse(f.v2, f.v3);
  }
  static constexpr std::size_t bin_of_first(std::size_t m) { return kFourReversed[m / 2] * 16 + m % 2; }
};

#endif

}  // namespace auspool::fft::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
