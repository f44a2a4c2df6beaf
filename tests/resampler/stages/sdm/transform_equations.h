// What a transform matrix is asked to do, worked out anew: for every frequency of the band, the sum over its rows of an
// exponential of the output times the row is the exponential of the input.
#pragma once

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "resampler/stages/sdm/transform_matrix.h"

namespace auspool::testing {

struct Residual {
  double largest;
  double mean;  // square
};

// An exponential of `size` samples that lie evenly about 0, `turn` apart from one another, backwards in time.
inline std::vector<std::complex<double>> exponential(std::int32_t size, double turn) {
  std::vector<std::complex<double>> samples;
  for (std::int32_t l = 0; l < size; ++l) samples.push_back(std::polar(1.0, (0.5 * (size - 1) - l) * turn));
  return samples;
}

// How far the matrix is from its equations at `frequencies` evenly spread over the band.
inline Residual residual_of(const transform_matrix &matrix, std::int32_t block_size, std::int32_t transform_size,
                            std::int32_t frequencies) {
  Residual residual = {};
  const double gain = 2.0 * block_size / transform_size;
  for (std::int32_t i = 0; i < frequencies; ++i) {
    const double turn = std::numbers::pi * i / (frequencies - 1);  // of an output sample: half its rate at the end
    auto rest = exponential(block_size, turn / gain);
    const auto out = exponential(transform_size, turn);
    for (std::int32_t row = 0; row < transform_size; ++row) {
      const std::complex<double> factor = gain * out[static_cast<std::size_t>(row)];
      for (std::int32_t l = 0; l < block_size; ++l) {
        const std::ptrdiff_t entry = std::ptrdiff_t{row} * block_size + l;
        rest[static_cast<std::size_t>(l)] -= factor * std::complex(matrix.real[entry], matrix.imaginary[entry]);
      }
    }
    for (const auto &value : rest) {
      residual.largest = std::max(residual.largest, std::abs(value));
      residual.mean += std::norm(value) / block_size / frequencies;
    }
  }
  residual.mean = std::sqrt(residual.mean);
  return residual;
}

}  // namespace auspool::testing
