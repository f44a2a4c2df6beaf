// Memory that begins with a cache line, where vector instructions are fastest.
#pragma once

#include <cstddef>
#include <new>
#include <vector>

namespace auspool {

template <typename T>
struct CacheLineAllocator {
  using value_type = T;
  static constexpr std::align_val_t kAlignment{64};

  CacheLineAllocator() = default;
  template <typename U>
  CacheLineAllocator(const CacheLineAllocator<U> &) {}

  T *allocate(std::size_t count) { return static_cast<T *>(::operator new(count * sizeof(T), kAlignment)); }
  void deallocate(T *memory, std::size_t) { ::operator delete(memory, kAlignment); }

  friend bool operator==(CacheLineAllocator, CacheLineAllocator) { return true; }
};

template <typename T>
using AlignedVector = std::vector<T, CacheLineAllocator<T>>;

}  // namespace auspool
