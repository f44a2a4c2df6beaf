// What linear_algebra.h promises of products, as plain loops. The kernels are tested against these.
#pragma once

#include "platform/linear_algebra.h"

namespace auspool::linear_algebra::reference {

// Row `r` of the matrix times one block.
template <typename T>
std::complex<T> row_times_block(const MatrixPass<T> &pass, std::size_t r, std::size_t block) {
  std::complex<T> sum = 0;
  for (std::size_t c = 0; c < pass.columns; ++c) {
    const std::size_t entry = r * pass.columns + c, sample = block * pass.in_hop + c;
    const T imaginary = pass.in.imaginary ? pass.in.imaginary[sample] : 0;
    sum += std::complex<T>(pass.matrix.real[entry], pass.matrix.imaginary[entry]) *
           std::complex<T>(pass.in.real[sample], imaginary);
  }
  return sum;
}

template <bool kAdd, typename T>
void multiply(const MatrixPass<T> &pass) {
  for (std::size_t block = 0; block < pass.blocks; ++block) {
    for (std::size_t r = 0; r < pass.rows; ++r) {
      const std::complex<T> sum = row_times_block(pass, r, block);
      T &real = pass.out.real[block * pass.out_hop + r];
      T &imaginary = pass.out.imaginary[block * pass.out_hop + r];
      real = (kAdd ? real : 0) + sum.real();
      imaginary = (kAdd ? imaginary : 0) + sum.imag();
    }
  }
}

}  // namespace auspool::linear_algebra::reference
