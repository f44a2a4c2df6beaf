// Dot products. All forms share the order of their sums: vector j of the rows goes to sum j modulo 4, what is left of
// the rows after the last whole vector goes to the last sum, and the lanes are added in pairs.
#include "platform/vector/tables.h"
#include "platform/vector/targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/vector/dot.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.
#include <hwy/highway.h>

#include "platform/vector/reference.h"

HWY_BEFORE_NAMESPACE();
namespace auspool::vector::HWY_NAMESPACE {
#if AUSPOOL_PLAIN_TARGET

using reference::dot;
using reference::dot_blended;
using reference::dot_many;
using reference::dot_polyphase;
using reference::dot_strided;

#else

namespace hn = hwy::HWY_NAMESPACE;

// Windows move by single samples, so most loads are not aligned. One of 64 bytes then always crosses a cache line, one
// of 32 every other time: the wider vectors of AVX3 are slower here, and only its registers are used.
template <typename T>
using Tag = hn::CappedTag<T, 32 / sizeof(T)>;
template <typename T>
using Vec = hn::Vec<Tag<T> >;

// The first `count` samples of a vector, zeroes behind them, none read that is not there.
template <typename T>
HWY_INLINE Vec<T> load_some(const T *samples, std::size_t count) {
  const Tag<T> d;
#if HWY_TARGET <= HWY_AVX2  // masked loads do not touch what is masked out
  return hn::MaskedLoad(hn::FirstN(d, count), d, samples);
#else
  HWY_ALIGN T buffer[hn::MaxLanes(d)] = {};
  for (std::size_t i = 0; i < count; ++i) buffer[i] = samples[i];
  return hn::Load(d, buffer);
#endif
}

// Where the second factors come from.
template <typename T>
struct Row {
  const T *samples;

  HWY_INLINE Row from(std::size_t i) const { return {samples + i}; }
  HWY_INLINE Vec<T> at(std::size_t i) const { return hn::LoadU(Tag<T>(), samples + i); }
  HWY_INLINE Vec<T> some_at(std::size_t i, std::size_t count) const { return load_some(samples + i, count); }
};

template <typename T>
struct BlendedRow {
  const T *values;
  const T *deltas;
  Vec<T> fraction;

  HWY_INLINE BlendedRow from(std::size_t i) const { return {values + i, deltas + i, fraction}; }
  HWY_INLINE Vec<T> at(std::size_t i) const {
    const Tag<T> d;
    return hn::MulAdd(hn::LoadU(d, deltas + i), fraction, hn::LoadU(d, values + i));
  }
  HWY_INLINE Vec<T> some_at(std::size_t i, std::size_t count) const {
    return hn::MulAdd(load_some(deltas + i, count), fraction, load_some(values + i, count));
  }
};

// The sums of one output. A fused multiply-add takes about four cycles and two can start in each: four sums keep the
// units busy where neighbouring dot products fill the gaps.
template <typename T>
struct Sums {
  Vec<T> sum0, sum1, sum2, sum3;

  HWY_INLINE Vec<T> lanes() const { return hn::Add(hn::Add(sum0, sum1), hn::Add(sum2, sum3)); }
};

template <typename T>
HWY_INLINE Sums<T> no_sums() {
  const Vec<T> zero = hn::Zero(Tag<T>());
  return {zero, zero, zero, zero};
}

// The sums of neighbouring lanes: those of `a` below those of `b`.
template <typename T>
HWY_INLINE Vec<T> add_pairs(Vec<T> a, Vec<T> b) {
  const Tag<T> d;
  return hn::Add(hn::ConcatEven(d, b, a), hn::ConcatOdd(d, b, a));
}

template <typename T>
HWY_INLINE T total(Vec<T> lanes) {
  for (std::size_t n = hn::Lanes(Tag<T>()); n > 1; n /= 2) lanes = add_pairs<T>(lanes, lanes);
  return hn::GetLane(lanes);
}

// Adds the products of two rows to `sums`. By value and in named variables: so they stay in registers.
template <typename T, class B>
HWY_INLINE Sums<T> accumulate(const T *a, const B &b, std::size_t count, Sums<T> sums) {
  const Tag<T> d;
  const std::size_t lanes = hn::Lanes(d);
  auto [sum0, sum1, sum2, sum3] = sums;
  std::size_t i = 0;
  for (; i + 4 * lanes <= count; i += 4 * lanes) {
    sum0 = hn::MulAdd(hn::LoadU(d, a + i), b.at(i), sum0);
    sum1 = hn::MulAdd(hn::LoadU(d, a + i + lanes), b.at(i + lanes), sum1);
    sum2 = hn::MulAdd(hn::LoadU(d, a + i + 2 * lanes), b.at(i + 2 * lanes), sum2);
    sum3 = hn::MulAdd(hn::LoadU(d, a + i + 3 * lanes), b.at(i + 3 * lanes), sum3);
  }
  const std::size_t rest = count - i;
  if (rest >= lanes) sum0 = hn::MulAdd(hn::LoadU(d, a + i), b.at(i), sum0);
  if (rest >= 2 * lanes) sum1 = hn::MulAdd(hn::LoadU(d, a + i + lanes), b.at(i + lanes), sum1);
  if (rest >= 3 * lanes) sum2 = hn::MulAdd(hn::LoadU(d, a + i + 2 * lanes), b.at(i + 2 * lanes), sum2);
  const std::size_t last = rest % lanes;
  i = count - last;
  if (last != 0) sum3 = hn::MulAdd(load_some(a + i, last), b.some_at(i, last), sum3);
  return {sum0, sum1, sum2, sum3};
}

template <typename T>
T dot(const T *a, const T *b, std::size_t count) {
  return total<T>(accumulate(a, Row<T>{b}, count, no_sums<T>()).lanes());
}

// Gathers the first factors piece by piece. Pieces are a multiple of four vectors, which keeps the order of the sums.
template <typename T, class B>
HWY_INLINE T gathered_dot(const T *a, std::ptrdiff_t a_stride, const B &b, std::size_t count) {
  constexpr std::size_t kPiece = 256;
  static_assert(kPiece % (4 * hn::MaxLanes(Tag<T>())) == 0);
  const auto gather = kernels<CopyKernel<T, T> >().copy;
  HWY_ALIGN T piece[kPiece];
  Sums<T> sums = no_sums<T>();
  for (std::size_t done = 0; done < count; done += kPiece) {
    const std::size_t part = HWY_MIN(kPiece, count - done);
    gather(a + static_cast<std::ptrdiff_t>(done) * a_stride, a_stride, piece, 1, part);
    sums = accumulate(piece, b.from(done), part, sums);
  }
  return total<T>(sums.lanes());
}

template <typename T>
T dot_strided(const T *a, std::ptrdiff_t a_stride, const T *b, std::size_t count) {
  return a_stride == 1 ? dot(a, b, count) : gathered_dot(a, a_stride, Row<T>{b}, count);
}

template <typename T>
T dot_blended(const T *a, std::ptrdiff_t a_stride, const Blend<T> &b, std::size_t count) {
  const BlendedRow<T> row{b.values, b.deltas, hn::Set(Tag<T>(), b.fraction)};
  if (a_stride != 1) return gathered_dot(a, a_stride, row, count);
  return total<T>(accumulate(a, row, count, no_sums<T>()).lanes());
}

// How many outputs share a pass over the rows: as many as have registers for their sums.
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_SSE4
constexpr std::size_t kOutputs = 2;
#else
constexpr std::size_t kOutputs = 4;
#endif

// Rows, `hop` apart, each times the row `shared`.
template <typename T>
struct Group {
  const T *rows;
  std::ptrdiff_t hop;
  const T *shared;

  HWY_INLINE const T *row(std::size_t r) const { return rows + static_cast<std::ptrdiff_t>(r) * hop; }
};

// Adds the products of one vector of the shared row to one sum of each output.
template <std::size_t kRows, typename T>
HWY_INLINE void accumulate_group(const Group<T> &group, std::size_t i, Vec<T> Sums<T>::*sum, Sums<T> *sums) {
  const Tag<T> d;
  const Vec<T> factor = hn::LoadU(d, group.shared + i);
#pragma GCC unroll 4
  for (std::size_t r = 0; r < kRows; ++r) {
    sums[r].*sum = hn::MulAdd(factor, hn::LoadU(d, group.row(r) + i), sums[r].*sum);
  }
}

// Writes the totals of one group, the lanes of several added at once.
template <std::size_t kRows, typename T>
HWY_INLINE void store_totals(const Sums<T> *sums, T *out, std::ptrdiff_t out_stride) {
  const Tag<T> d;
  HWY_ALIGN T totals[HWY_MAX(hn::MaxLanes(d), kOutputs)];
  Vec<T> pairs = add_pairs<T>(sums[0].lanes(), sums[1].lanes());
  std::size_t n = hn::Lanes(d) / 2;
  if constexpr (kRows > 2) {
    const Vec<T> more = add_pairs<T>(sums[2].lanes(), sums[kRows - 1].lanes());
    if (n == 1) {
      hn::Store(more, d, totals + 2);
    } else {
      pairs = add_pairs<T>(pairs, more);
      n /= 2;
    }
  }
  for (; n > 1; n /= 2) pairs = add_pairs<T>(pairs, pairs);
  hn::Store(pairs, d, totals);
  for (std::size_t r = 0; r < kRows; ++r) out[static_cast<std::ptrdiff_t>(r) * out_stride] = totals[r];
}

template <std::size_t kRows, typename T>
HWY_INLINE void dot_group(const Group<T> &group, std::size_t count, T *out, std::ptrdiff_t out_stride) {
  const Tag<T> d;
  const std::size_t lanes = hn::Lanes(d);
  Sums<T> sums[kRows];
  for (auto &s : sums) s = no_sums<T>();
  std::size_t i = 0;
  for (; i + 4 * lanes <= count; i += 4 * lanes) {
    accumulate_group<kRows>(group, i, &Sums<T>::sum0, sums);
    accumulate_group<kRows>(group, i + lanes, &Sums<T>::sum1, sums);
    accumulate_group<kRows>(group, i + 2 * lanes, &Sums<T>::sum2, sums);
    accumulate_group<kRows>(group, i + 3 * lanes, &Sums<T>::sum3, sums);
  }
  std::size_t rest = count - i;
  if (rest >= lanes) accumulate_group<kRows>(group, i, &Sums<T>::sum0, sums);
  if (rest >= 2 * lanes) accumulate_group<kRows>(group, i + lanes, &Sums<T>::sum1, sums);
  if (rest >= 3 * lanes) accumulate_group<kRows>(group, i + 2 * lanes, &Sums<T>::sum2, sums);
  i += rest / lanes * lanes;
  rest %= lanes;
  if (rest != 0) {
    const Vec<T> factor = load_some(group.shared + i, rest);
#pragma GCC unroll 4
    for (std::size_t r = 0; r < kRows; ++r) {
      sums[r].sum3 = hn::MulAdd(factor, load_some(group.row(r) + i, rest), sums[r].sum3);
    }
  }
  store_totals<kRows>(sums, out, out_stride);
}

// Groups of as many outputs as have registers, then what is left as a smaller group.
template <typename T>
HWY_INLINE void dot_groups(Group<T> group, std::size_t count, T *out, std::ptrdiff_t out_stride, std::size_t left) {
  constexpr auto kStep = static_cast<std::ptrdiff_t>(kOutputs);
  for (; left >= kOutputs; left -= kOutputs, out += kStep * out_stride) {
    dot_group<kOutputs>(group, count, out, out_stride);
    group.rows += kStep * group.hop;
  }
  if (kOutputs > 3 && left == 3) {
    dot_group<HWY_MIN(3, kOutputs)>(group, count, out, out_stride);
  } else if (kOutputs > 2 && left == 2) {
    dot_group<2>(group, count, out, out_stride);
  } else if (left == 1) {
    *out = dot(group.rows, group.shared, count);
  }
}

template <typename T>
void dot_many(const DotPass<T> &pass) {
  if (pass.b_hop == 0) {
    dot_groups(Group<T>{pass.a, pass.a_hop, pass.b}, pass.count, pass.out, pass.out_stride, pass.outputs);
  } else if (pass.a_hop == 0) {
    dot_groups(Group<T>{pass.b, pass.b_hop, pass.a}, pass.count, pass.out, pass.out_stride, pass.outputs);
  } else {
    T *out = pass.out;
    for (std::size_t k = 0; k < pass.outputs; ++k, out += pass.out_stride) {
      const auto row = static_cast<std::ptrdiff_t>(k);
      *out = dot(pass.a + row * pass.a_hop, pass.b + row * pass.b_hop, pass.count);
    }
  }
}

// Outputs that lie `up` apart share a row, and their windows lie `down` samples apart.
template <typename T>
void dot_polyphase(const PolyphasePass<T> &pass) {
  const std::size_t step = pass.down / pass.up;
  const std::size_t rest = pass.down % pass.up;
  const std::size_t rounds = pass.outputs / pass.up;
  const std::size_t extra = pass.outputs % pass.up;
  const std::ptrdiff_t stride = static_cast<std::ptrdiff_t>(pass.up) * pass.out_stride;
  const auto hop = static_cast<std::ptrdiff_t>(pass.down);
  const T *window = pass.window;
  std::size_t phase = pass.phase;
  T *out = pass.out;
  for (std::size_t k = 0; k < HWY_MIN(pass.outputs, pass.up); ++k, out += pass.out_stride) {
    const Group<T> group{window, hop, pass.rows + phase * pass.count};
    dot_groups(group, pass.count, out, stride, rounds + (k < extra ? 1 : 0));
    window += step;
    phase += rest;
    if (phase >= pass.up) {
      phase -= pass.up;
      ++window;
    }
  }
}

#endif

template <typename T>
HWY_INLINE const DotKernels<T> *table() {
  static constexpr DotKernels<T> kTable = {dot<T>, dot_strided<T>, dot_blended<T>, dot_many<T>, dot_polyphase<T>};
  return &kTable;
}
const DotKernels<float> *dot_table_float() {
  return table<float>();
}
const DotKernels<double> *dot_table_double() {
  return table<double>();
}

}  // namespace auspool::vector::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace auspool::vector {

HWY_EXPORT(dot_table_float);
HWY_EXPORT(dot_table_double);

template <>
const DotKernels<float> *best_table() {
  return HWY_DYNAMIC_DISPATCH(dot_table_float)();
}
template <>
const DotKernels<double> *best_table() {
  return HWY_DYNAMIC_DISPATCH(dot_table_double)();
}

}  // namespace auspool::vector
#endif
