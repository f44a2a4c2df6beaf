// The kernels of one processor target, as tables of functions; what each does is told in platform/vector.h.
#pragma once

#include <atomic>
#include <cstddef>

#include "platform/vector.h"

namespace auspool::vector {

template <typename T>
struct DotKernels {
  T (*dot)(const T *a, const T *b, std::size_t count);
  T (*dot_strided)(const T *a, std::ptrdiff_t a_stride, const T *b, std::size_t count);
  T (*dot_blended)(const T *a, std::ptrdiff_t a_stride, const Blend<T> &b, std::size_t count);
  void (*dot_many)(const DotPass<T> &pass);
  void (*dot_polyphase)(const PolyphasePass<T> &pass);
};

template <typename T>
struct RowKernels {
  void (*multiply_add)(const T *a, T factor, const T *b, T *out, std::size_t count);
  void (*scale)(const T *a, T factor, T *out, std::size_t count);
  void (*add)(const T *a, const T *b, T *out, std::size_t count);
  void (*subtract)(const T *a, const T *b, T *out, std::size_t count);
  void (*complex_multiply)(SplitInput<T> a, SplitInput<T> b, Split<T> out, std::size_t count);
  void (*complex_multiply_add)(SplitInput<T> a, SplitInput<T> b, Split<T> out, std::size_t count);
};

template <typename From, typename To>
struct CopyKernel {
  void (*copy)(const From *in, std::ptrdiff_t in_stride, To *out, std::ptrdiff_t out_stride, std::size_t count);
  void (*interleave)(const From *rows, std::ptrdiff_t row_stride, std::size_t count_of_rows, To *out,
                     std::size_t count);
};

// The table for this processor. Finding it asks the processor what it can, which takes no lock and no system call; two
// threads that find it at once find the same.
template <typename Table>
const Table *best_table();

// Nothing is published with the pointer: what it points to is constant.
template <typename Table>
inline constinit std::atomic<const Table *> chosen_table{nullptr};

template <typename Table>
const Table &kernels() {
  const Table *table = chosen_table<Table>.load(std::memory_order_relaxed);
  if (!table) [[unlikely]] {
    table = best_table<Table>();
    chosen_table<Table>.store(table, std::memory_order_relaxed);
  }
  return *table;
}

}  // namespace auspool::vector
