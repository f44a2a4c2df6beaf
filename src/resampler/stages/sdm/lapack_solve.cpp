#include <new>

#include "platform/linear_algebra.h"
#include "resampler/stages/sdm/transform_matrix.h"

namespace auspool {
namespace {

using Interleaved = Block<std::complex<double>>;

Interleaved interleaved(vector::Split<const double> split, std::int32_t rows, std::int32_t columns) {
  auto matrix = make_block<std::complex<double>>(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns));
  splitcomplex2lapack(split, matrix.get(), rows, columns);
  return matrix;
}

}  // namespace

void splitcomplex2lapack(vector::Split<const double> split, std::complex<double> *interleaved, std::int32_t rows,
                         std::int32_t columns) {
  for (std::ptrdiff_t j = 0; j < columns; ++j) {
    for (std::ptrdiff_t i = 0; i < rows; ++i) {
      *interleaved++ = {split.real[i * columns + j], split.imaginary[i * columns + j]};
    }
  }
}

TransformMatrix lapack_solve(vector::Split<const double> a, vector::Split<const double> b, std::int32_t rows,
                             std::int32_t columns, std::int32_t right_sides) try {
  constexpr double kPrecision = 1e-10;
  const Interleaved system = interleaved(a, rows, columns), solution = interleaved(b, rows, right_sides);
  if (!linear_algebra::solve_least_squares({rows, columns, right_sides, system.get(), solution.get(), kPrecision})) {
    return nullptr;
  }
  TransformMatrix matrix =
      make_matrix<double>(static_cast<std::size_t>(columns) * static_cast<std::size_t>(right_sides));
  for (std::ptrdiff_t i = 0; i < columns; ++i) {
    for (std::ptrdiff_t j = 0; j < right_sides; ++j) {
      matrix->real[i * right_sides + j] = solution[static_cast<std::size_t>(i + j * rows)].real();
      matrix->imaginary[i * right_sides + j] = solution[static_cast<std::size_t>(i + j * rows)].imag();
    }
  }
  return matrix;
} catch (const std::bad_alloc &) {
  return nullptr;
}

}  // namespace auspool
