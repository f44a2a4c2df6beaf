// Complex matrices times blocks of samples. A matrix is larger than the first cache, so its rows are what is read once:
// a row serves four blocks at a time, and a block that is left over goes through four rows at a time. Either way each
// load of a coefficient or a sample serves several sums, which stay in registers.
#include "platform/linear_algebra.h"
#include "platform/vector/targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/linear_algebra/products.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.
#include <hwy/highway.h>

#include "platform/linear_algebra/reference.h"

HWY_BEFORE_NAMESPACE();
namespace auspool::linear_algebra::HWY_NAMESPACE {
#if AUSPOOL_PLAIN_TARGET

template <bool kAdd, typename T>
void multiply(const MatrixPass<T> &pass) {
  reference::multiply<kAdd>(pass);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

template <typename T>
using Whole = hn::ScalableTag<T>;
template <typename T>
using Single = hn::CappedTag<T, 1>;

// The sums of `kRows` rows times `kBlocks` blocks, in the lanes of D.
template <class D, std::size_t kRows, std::size_t kBlocks>
struct Sums {
  using T = hn::TFromD<D>;
  hn::Vec<D> real[kRows][kBlocks];
  hn::Vec<D> imaginary[kRows][kBlocks];

  HWY_INLINE Sums() {
    for (std::size_t r = 0; r < kRows; ++r) {
      for (std::size_t b = 0; b < kBlocks; ++b) real[r][b] = imaginary[r][b] = hn::Zero(D());
    }
  }

  // Adds the products of one vector of each row with one of each block.
  template <bool kComplex>
  HWY_INLINE void add(const MatrixPass<T> &pass, std::size_t entry, std::size_t sample) {
    const D d;
#pragma GCC unroll 4
    for (std::size_t r = 0; r < kRows; ++r) {
      const auto mr = hn::LoadU(d, pass.matrix.real + entry + r * pass.columns);
      const auto mi = hn::LoadU(d, pass.matrix.imaginary + entry + r * pass.columns);
#pragma GCC unroll 4
      for (std::size_t b = 0; b < kBlocks; ++b) {
        const auto xr = hn::LoadU(d, pass.in.real + sample + b * pass.in_hop);
        real[r][b] = hn::MulAdd(mr, xr, real[r][b]);
        imaginary[r][b] = hn::MulAdd(mi, xr, imaginary[r][b]);
        if constexpr (kComplex) {
          const auto xi = hn::LoadU(d, pass.in.imaginary + sample + b * pass.in_hop);
          real[r][b] = hn::NegMulAdd(mi, xi, real[r][b]);
          imaginary[r][b] = hn::MulAdd(mr, xi, imaginary[r][b]);
        }
      }
    }
  }
};

template <bool kAdd, typename T>
HWY_INLINE void put(T &out, T sum) {
  out = kAdd ? out + sum : sum;
}

// `kRows` rows from `row` on, times `kBlocks` blocks from `block` on.
template <bool kAdd, bool kComplex, std::size_t kRows, std::size_t kBlocks, typename T>
HWY_INLINE void multiply_tile(const MatrixPass<T> &pass, std::size_t row, std::size_t block) {
  const Whole<T> d;
  Sums<Whole<T>, kRows, kBlocks> sums;
  Sums<Single<T>, kRows, kBlocks> rest;
  std::size_t c = 0;
  const std::size_t entry = row * pass.columns, sample = block * pass.in_hop;
  for (; c + hn::Lanes(d) <= pass.columns; c += hn::Lanes(d)) sums.template add<kComplex>(pass, entry + c, sample + c);
  for (; c < pass.columns; ++c) rest.template add<kComplex>(pass, entry + c, sample + c);
  for (std::size_t r = 0; r < kRows; ++r) {
    for (std::size_t b = 0; b < kBlocks; ++b) {
      const std::size_t at = (block + b) * pass.out_hop + row + r;
      put<kAdd>(pass.out.real[at], hn::GetLane(hn::SumOfLanes(d, sums.real[r][b])) + hn::GetLane(rest.real[r][b]));
      put<kAdd>(pass.out.imaginary[at],
                hn::GetLane(hn::SumOfLanes(d, sums.imaginary[r][b])) + hn::GetLane(rest.imaginary[r][b]));
    }
  }
}

constexpr std::size_t kTogether = 4;
// AVX3 has twice the registers of those before it.
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
constexpr std::size_t kRowsOfFour = 2;
#else
constexpr std::size_t kRowsOfFour = 1;
#endif

// `kRows` rows times the first `blocks` blocks, which are a multiple of four.
template <bool kAdd, bool kComplex, std::size_t kRows, typename T>
HWY_INLINE void multiply_fours(const MatrixPass<T> &pass, std::size_t row, std::size_t blocks) {
  for (std::size_t block = 0; block < blocks; block += kTogether) {
    multiply_tile<kAdd, kComplex, kRows, kTogether>(pass, row, block);
  }
}

// All rows times one block.
template <bool kAdd, bool kComplex, typename T>
HWY_INLINE void multiply_block(const MatrixPass<T> &pass, std::size_t block) {
  std::size_t row = 0;
  for (; row + kTogether <= pass.rows; row += kTogether) multiply_tile<kAdd, kComplex, kTogether, 1>(pass, row, block);
  for (; row < pass.rows; ++row) multiply_tile<kAdd, kComplex, 1, 1>(pass, row, block);
}

template <bool kAdd, bool kComplex, typename T>
HWY_INLINE void multiply_tiles(const MatrixPass<T> &pass) {
  const std::size_t fours = pass.blocks / kTogether * kTogether;
  std::size_t row = 0;
  for (; row + kRowsOfFour <= pass.rows; row += kRowsOfFour) {
    multiply_fours<kAdd, kComplex, kRowsOfFour>(pass, row, fours);
  }
  for (; row < pass.rows; ++row) multiply_fours<kAdd, kComplex, 1>(pass, row, fours);
  for (std::size_t block = fours; block < pass.blocks; ++block) multiply_block<kAdd, kComplex>(pass, block);
}

template <bool kAdd, typename T>
void multiply(const MatrixPass<T> &pass) {
  pass.in.imaginary ? multiply_tiles<kAdd, true>(pass) : multiply_tiles<kAdd, false>(pass);
}

#endif

void zmvmul(const MatrixPass<float> &pass) {
  multiply<false>(pass);
}
void zmvmulD(const MatrixPass<double> &pass) {
  multiply<false>(pass);
}
void zmvma(const MatrixPass<float> &pass) {
  multiply<true>(pass);
}
void zmvmaD(const MatrixPass<double> &pass) {
  multiply<true>(pass);
}

}  // namespace auspool::linear_algebra::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace auspool::linear_algebra {

HWY_EXPORT(zmvmul);
HWY_EXPORT(zmvmulD);
HWY_EXPORT(zmvma);
HWY_EXPORT(zmvmaD);

template <>
void multiply(const MatrixPass<float> &pass) {
  HWY_DYNAMIC_DISPATCH(zmvmul)(pass);
}
template <>
void multiply(const MatrixPass<double> &pass) {
  HWY_DYNAMIC_DISPATCH(zmvmulD)(pass);
}
template <>
void multiply_add(const MatrixPass<float> &pass) {
  HWY_DYNAMIC_DISPATCH(zmvma)(pass);
}
template <>
void multiply_add(const MatrixPass<double> &pass) {
  HWY_DYNAMIC_DISPATCH(zmvmaD)(pass);
}

}  // namespace auspool::linear_algebra
#endif
