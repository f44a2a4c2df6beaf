// Complex matrices: the nearest solution of a linear system, and products with blocks of samples.
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>

#include "platform/vector.h"

namespace auspool::linear_algebra {

// A X = B with more rows than columns, so that B is met as nearly as can be. Matrices lie column by column, columns a
// whole matrix height apart.
struct LeastSquares {
  std::int32_t rows;
  std::int32_t columns;      // of A, which is the height of X
  std::int32_t right_sides;  // columns of B and of X
  std::complex<double> *a;   // lost
  std::complex<double> *b;   // X afterwards, in the first `columns` rows
  double precision;          // A counts as singular where its condition is above 1 / precision
};

// Brings the squares of A X - B to their least; of all X that do, the one with the least squares of its own. False
// where the solver gives up. Throws std::bad_alloc. Starts no thread.
bool solve_least_squares(const LeastSquares &system);

// A matrix times blocks of samples, real or complex, in one pass: for each block b, row r and column c
//   out[b * out_hop + r] = sum of matrix[r * columns + c] * in[b * in_hop + c]
// `in.imaginary` is null for real samples. `out` must not overlap the inputs. In the forms that add, `out` of one block
// may overlap that of another.
//
// What a block gives does not depend, bit for bit, on the blocks beside it. Allocates nothing and takes no lock.
template <typename T>
struct MatrixPass {
  vector::Split<const T> matrix;
  std::size_t rows;
  std::size_t columns;
  vector::Split<const T> in;
  std::size_t in_hop;
  std::size_t blocks;
  vector::Split<T> out;
  std::size_t out_hop;
};

template <typename T>
void multiply(const MatrixPass<T> &pass);
// out += instead of out =
template <typename T>
void multiply_add(const MatrixPass<T> &pass);

}  // namespace auspool::linear_algebra
