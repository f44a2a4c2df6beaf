#include "resampler/stages/sdm/transform_matrix.h"

#include <cmath>
#include <new>
#include <numbers>

namespace auspool {
namespace {

// `rows` spectra of `columns` samples each.
struct Spectra {
  Spectra(std::int32_t rows, std::int32_t columns)
      : values(make_block<double>(2 * static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns))),
        split{values.get(), values.get() + std::ptrdiff_t{rows} * columns} {}

  Block<double> values;
  vector::Split<double> split;
};

// Row i: the complex exponential of `size` samples about their middle, at frequency i * step in cycles a sample.
Spectra exponentials(std::int32_t rows, std::int32_t size, double step, double scale) {
  Spectra spectra(rows, size);
  for (std::int32_t i = 0; i < rows; ++i) {
    const double turn = std::numbers::pi * (i * step);
    for (std::int32_t j = 0; j < size; ++j) {
      const std::ptrdiff_t entry = std::ptrdiff_t{i} * size + j;
      const double phase = (size - 1 - 2 * j) * turn;
      spectra.split.real[entry] = scale * std::cos(phase);
      spectra.split.imaginary[entry] = scale * std::sin(phase);
    }
  }
  return spectra;
}

bool is_size(std::int32_t block_size, std::int32_t transform_size) {
  constexpr double kMostEntries = 100000.0;
  const bool rate_rises = transform_size > 2.0 * block_size;
  return block_size > 0 && transform_size > 0 && transform_size % 2 == 0 && !rate_rises &&
         static_cast<double>(transform_size) * block_size <= kMostEntries;
}

}  // namespace

TransformMatrix compute_transform_matrix(std::int32_t block_size, std::int32_t transform_size, std::int32_t rows) try {
  if (!is_size(block_size, transform_size)) return nullptr;
  const double scale = 2.0 * block_size / transform_size;
  const double step = 0.5 / (rows - 1);    // both go from 0 to half the new rate: in cycles of an output sample
  const double input_step = step / scale;  // and of an input sample
  const Spectra a = exponentials(rows, transform_size, step, scale);
  const Spectra b = exponentials(rows, block_size, input_step, 1.0);
  return lapack_solve(a.split, b.split, rows, transform_size, block_size);
} catch (const std::bad_alloc &) {
  return nullptr;
}

}  // namespace auspool
