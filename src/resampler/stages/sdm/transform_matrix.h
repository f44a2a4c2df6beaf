// The matrices of block transforms.
//
// A block of `block_size` real or complex samples becomes `transform_size` complex ones, which lie twice as long as the
// block did: neighbouring results overlap by half and are added. The rate so falls by transform_size / (2 *
// block_size).
//
// The matrix is designed such that what comes out has the block's own spectrum at all frequencies from 0 to half the
// new rate. So nothing that the block holds elsewhere, negative frequencies included, has an image there: it ends in
// the negative half, which is free to hold whatever suits. The conversion to a real signal at the end of a chain drops
// that half.
#pragma once

#include <complex>
#include <cstdint>
#include <memory>

#include "platform/vector.h"
#include "resampler/memory.h"

namespace auspool {

// `transform_size` rows of `block_size` entries, row by row. The entries lie behind the two pointers in one allocation.
using transform_matrix = vector::Split<double>;
template <typename T>
using MatrixOf = std::unique_ptr<vector::Split<T>, FreeDeleter>;
using TransformMatrix = MatrixOf<double>;

// Throws std::bad_alloc.
template <typename T>
MatrixOf<T> make_matrix(std::size_t entries) {
  constexpr std::size_t kHead = 64;  // a cache line
  static_assert(sizeof(vector::Split<T>) <= kHead);
  std::byte *memory = make_aligned_block<std::byte>(kHead + 2 * entries * sizeof(T)).release();
  auto *values = reinterpret_cast<T *>(memory + kHead);
  return MatrixOf<T>(new (memory) vector::Split<T>{values, values + entries});
}

// At how many frequencies spectra are compared. The phases of the largest matrix turn some 110 times within the band,
// so there is no detail that these miss.
inline constexpr std::int32_t kSpectrumRows = 2048;

// Designs a matrix. Null for sizes that make none, which are an odd `transform_size`, one that would raise the rate and
// more than 100000 entries, and when memory is short. Takes up to a
// second and 50 MB for blocks of up to 320 samples, and more the longer they are: 4 seconds and 3 GB for 50000 by 2.
TransformMatrix compute_transform_matrix(std::int32_t block_size, std::int32_t transform_size,
                                         std::int32_t rows = kSpectrumRows);

// The X that brings A X nearest to B. A is `rows` by `columns` and B `rows` by `right_sides`, both row by row. Null
// when there is no solution or memory is short.
TransformMatrix lapack_solve(vector::Split<const double> a, vector::Split<const double> b, std::int32_t rows,
                             std::int32_t columns, std::int32_t right_sides);

// Row by row and split becomes column by column and interleaved.
void splitcomplex2lapack(vector::Split<const double> split, std::complex<double> *interleaved, std::int32_t rows,
                         std::int32_t columns);

}  // namespace auspool
