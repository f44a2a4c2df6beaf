// What both rings do, for any number of planes. A ring tells its planes and its storage through the overloads of
// `planes`, `storage_bytes` and `adopt`; everything else is the same.
#pragma once

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <new>

#include "buffers/ring.h"
#include "platform/locked_memory.h"

namespace auspool::ring {

inline std::array<std::uint8_t *, 1> planes(const rbuffer &ring) {
  return {ring.data};
}
inline std::array<std::uint8_t *, 2> planes(const rbuffer2 &ring) {
  return {ring.plane0, ring.plane1};
}

// Bytes to allocate for a size above 0.
inline std::int64_t storage_bytes(const rbuffer &, std::int32_t size) {
  return size;
}
inline std::int64_t storage_bytes(const rbuffer2 &, std::int32_t size) {
  return (std::int64_t{2} * size + 6) & ~std::int64_t{7};
}

inline void adopt(rbuffer &ring, std::uint8_t *block, std::int32_t) {
  ring.data = block;
}
inline void adopt(rbuffer2 &ring, std::uint8_t *block, std::int32_t bytes) {
  ring.data = ring.plane0 = block;
  ring.plane1 = block ? block + bytes / 2 : nullptr;
  ring.block_size = bytes;
}

template <typename Ring>
void flush_sync(Ring &ring) {
  ring.read_pos = ring.write_pos = 0;
  ring.free_space.store(ring.size, std::memory_order_relaxed);
}

template <typename Ring>
void release_storage(Ring &ring) {
  if (!ring.data) return;
  const auto bytes = static_cast<std::size_t>(storage_bytes(ring, ring.size));
  if (ring.lock_memory && ring.mlock_status == 0) platform::unpin_pages(ring.data, bytes);
  platform::release_pages(ring.data, bytes);
  adopt(ring, nullptr, 0);
  ring.size = 0;
}

template <typename Ring>
std::int32_t set_size(Ring &ring, std::int32_t size) {
  release_storage(ring);
  flush_sync(ring);
  if (size <= 0) return 0;
  const std::int64_t bytes = storage_bytes(ring, size);
  if (bytes > std::numeric_limits<std::int32_t>::max()) return -1;
  auto *block = static_cast<std::uint8_t *>(platform::allocate_pages(static_cast<std::size_t>(bytes)));
  if (!block) return -1;
  adopt(ring, block, static_cast<std::int32_t>(bytes));
  ring.size = size;
  if (ring.lock_memory) ring.mlock_status = platform::pin_pages(block, static_cast<std::size_t>(bytes));
  flush_sync(ring);
  return 0;
}

template <typename Ring>
Ring *create(std::int32_t size, std::int32_t lock_memory) {
  std::unique_ptr<Ring> ring(new (std::nothrow) Ring);
  if (!ring) return nullptr;
  ring->lock_memory = lock_memory;
  return set_size(*ring, size) == 0 ? ring.release() : nullptr;
}

// Walks the `count` bytes from `pos` on as one or two runs, calling copy(offset in the storage, offset in the
// block, bytes), and returns the position after them, which is never the end of the storage.
template <typename Copy>
std::int32_t for_each_run(std::int32_t pos, std::int32_t count, std::int32_t size, const Copy &copy) {
  const std::int32_t to_end = size - pos;
  if (count < to_end) {
    copy(pos, 0, count);
    return pos + count;
  }
  copy(pos, 0, to_end);
  if (count > to_end) copy(0, to_end, count - to_end);
  return count - to_end;
}

// Writing side.
template <typename Ring, std::size_t N>
std::int32_t write(Ring &ring, const std::array<const void *, N> &sources, std::int32_t count) {
  for (const void *source : sources) {
    if (!source) return 0;
  }
  count = std::min(count, ring.free_space.load(std::memory_order_acquire));
  if (count <= 0) return 0;
  const auto storage = planes(ring);
  ring.write_pos = for_each_run(ring.write_pos, count, ring.size, [&](auto at, auto from, auto bytes) {
    for (std::size_t p = 0; p < N; ++p) {
      std::memcpy(storage[p] + at, static_cast<const std::uint8_t *>(sources[p]) + from,
                  static_cast<std::size_t>(bytes));
    }
  });
  ring.free_space.fetch_sub(count, std::memory_order_release);
  return count;
}

template <typename Ring>
std::int32_t used_space(const Ring &ring) {
  return ring.size - ring.free_space.load(std::memory_order_acquire);
}

// Reading side.
template <typename Ring, std::size_t N>
std::int32_t read(Ring &ring, const std::array<void *, N> &destinations, std::int32_t count) {
  if (!ring.read_lock.try_lock()) return 0;
  const std::unique_lock lock(ring.read_lock, std::adopt_lock);
  count = std::min(count, used_space(ring));
  if (count <= 0) return 0;
  const auto storage = planes(ring);
  ring.read_pos = for_each_run(ring.read_pos, count, ring.size, [&](auto at, auto to, auto bytes) {
    for (std::size_t p = 0; p < N; ++p) {
      if (!destinations[p]) continue;
      std::memcpy(static_cast<std::uint8_t *>(destinations[p]) + to, storage[p] + at, static_cast<std::size_t>(bytes));
    }
  });
  ring.free_space.fetch_add(count, std::memory_order_release);
  return count;
}

// Advances by what is used at one moment. Setting `read_pos` to `write_pos` would lose step with a writer that has
// copied but not yet counted its bytes.
template <typename Ring>
void flush(Ring &ring) {
  constexpr unsigned kRetryMicroseconds = 20;
  ring.read_lock.lock_in_sleeps(kRetryMicroseconds);
  const std::unique_lock lock(ring.read_lock, std::adopt_lock);
  const std::int32_t used = used_space(ring);
  if (used == 0) return;
  ring.read_pos = for_each_run(ring.read_pos, used, ring.size, [](auto, auto, auto) {});
  ring.free_space.fetch_add(used, std::memory_order_release);
}

}  // namespace auspool::ring
