// The records of `rbuffer` and `rbuffer2`, and the one body of code that works both.
//
// The writer owns `write_pos`, the reader `read_pos` under `read_lock`; `free_space` is the one word that both
// change. Each side changes it only when it has done with the bytes, with release order, and reads it with acquire
// order: so the reader never sees bytes that are not there yet, nor the writer space that is still being read.
// What the sides write lies on cache lines of its own, so that neither side's stores evict what the other works on.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "auspool/rbuffer.h"
#include "base/relaxed.h"
#include "platform/spin_lock.h"

namespace auspool {

inline constexpr std::size_t kCacheLine = 64;

}  // namespace auspool

struct rbuffer {
  std::uint8_t *data = nullptr;
  std::int32_t mlock_status = 0;
  std::int32_t size = 0;
  std::int32_t lock_memory = 0;
  alignas(auspool::kCacheLine) std::atomic<std::int32_t> free_space = 0;
  alignas(auspool::kCacheLine) std::int32_t read_pos = 0;
  alignas(auspool::kCacheLine) std::int32_t write_pos = 0;
  alignas(auspool::kCacheLine) auspool::platform::SpinLock read_lock;

  ~rbuffer();
};

struct rbuffer2 {
  std::uint8_t *data = nullptr;
  std::uint8_t *plane0 = nullptr;
  std::uint8_t *plane1 = nullptr;
  std::int32_t mlock_status = 0;
  auspool::Relaxed<std::int32_t> size = 0;  // other threads may ask while it changes
  std::int32_t lock_memory = 0;
  std::int32_t block_size = 0;
  alignas(auspool::kCacheLine) std::atomic<std::int32_t> free_space = 0;
  alignas(auspool::kCacheLine) std::int32_t read_pos = 0;
  alignas(auspool::kCacheLine) std::int32_t write_pos = 0;
  alignas(auspool::kCacheLine) auspool::platform::SpinLock read_lock;

  ~rbuffer2();
};
