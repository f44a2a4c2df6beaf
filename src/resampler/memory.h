// Memory that the C interface releases with free().
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace auspool {

struct FreeDeleter {
  void operator()(void *memory) const { std::free(memory); }
};

template <typename T>
using Block = std::unique_ptr<T[], FreeDeleter>;

// `count` zeroed elements, or null.
template <typename T>
Block<T> try_block(std::size_t count) {
  return Block<T>(static_cast<T *>(std::calloc(count > 0 ? count : 1, sizeof(T))));
}

// The same; throws std::bad_alloc.
template <typename T>
Block<T> make_block(std::size_t count) {
  Block<T> block = try_block<T>(count);
  if (!block) throw std::bad_alloc();
  return block;
}

// The same, beginning with a cache line.
template <typename T>
Block<T> make_aligned_block(std::size_t count) {
  constexpr std::size_t kCacheLine = 64;
  const std::size_t bytes = (count * sizeof(T) / kCacheLine + 1) * kCacheLine;
  Block<T> block(static_cast<T *>(std::aligned_alloc(kCacheLine, bytes)));
  if (!block) throw std::bad_alloc();
  std::memset(block.get(), 0, bytes);
  return block;
}

}  // namespace auspool
