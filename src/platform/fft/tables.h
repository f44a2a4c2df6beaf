// The constants of the transforms of one size, for vectors of one width.
//
// Complex numbers are packed by vectors, here and wherever transforms work: `lanes` real parts, then the imaginary
// parts that belong to them. A complex vector is then one cache line or a part of one, and a pass over the data touches
// half as many places at once as it would with two arrays; places that are a power of two apart compete for the same
// lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace auspool::fft {

constexpr int kMaxLog2 = 26;

template <typename T>
struct Tables {
  std::size_t size = 0;   // F
  std::size_t lanes = 0;  // L
  // exp(-2 pi i n / R) doubled, for n below R/4, by the base-2 logarithm of R. The 2 is at once the factor of the
  // forward transform's scaling and the one that a merge of two halves needs.
  const T *halves[kMaxLog2 + 1] = {};
  // exp(-2 pi i n j / M) for n below M/4 and, in turn, j of 1, 2 and 3: the factors of a radix-4 pass over M points.
  const T *quarters[kMaxLog2 + 1] = {};
  // exp(-2 pi i n / M) for n below M/2, of the radix-2 passes over 2L and 8L points.
  const T *pairs_2l = nullptr;
  const T *pairs_8l = nullptr;
  // Where the last pass of an ordered transform finds the vectors of its j-th group: the bits of j reversed.
  std::vector<std::uint32_t> order;

  std::unique_ptr<T[], void (*)(void *)> storage{nullptr, nullptr};
};

// For 2^log2_size points in vectors of `lanes`. Made when first asked for, and shared until the last user releases
// them. Any thread may call these. Throws std::bad_alloc.
template <typename T>
const Tables<T> *acquire_tables(int log2_size, std::size_t lanes);
template <typename T>
void release_tables(const Tables<T> *tables);

}  // namespace auspool::fft
