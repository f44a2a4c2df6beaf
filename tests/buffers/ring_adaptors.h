// One way to test both rings: bytes written to each plane at once. Plane 1 of `rbuffer2` carries the complement of
// what plane 0 carries, so that planes which are mixed up show.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "auspool/rbuffer.h"
#include "buffers/ring.h"

namespace auspool::testing {

using Bytes = std::vector<std::uint8_t>;

inline Bytes complement(Bytes bytes) {
  for (std::uint8_t &byte : bytes) byte = static_cast<std::uint8_t>(~byte);
  return bytes;
}

inline std::int32_t count_of(const Bytes &bytes) {
  return static_cast<std::int32_t>(bytes.size());
}

struct OnePlane {
  using Ring = rbuffer;
  static constexpr auto create = rbuffer_create;
  static constexpr auto destroy = rbuffer_destroy;
  static constexpr auto set_size = rbuffer_set_size;
  static constexpr auto flush = rbuffer_flush;
  static constexpr auto flush_w = rbuffer_flush_w;
  static constexpr auto flush_sync = rbuffer_flush_sync;
  static constexpr auto used_space = rbuffer_used_space;
  static constexpr auto free_space = rbuffer_free_space;
  static constexpr auto size = rbuffer_size;

  static std::int32_t write(Ring *ring, const Bytes &bytes) {
    return rbuffer_write(ring, bytes.data(), count_of(bytes));
  }
  static std::int32_t read(Ring *ring, Bytes &bytes) { return rbuffer_read(ring, bytes.data(), count_of(bytes)); }
  static std::int32_t drop(Ring *ring, std::int32_t count) { return rbuffer_read(ring, nullptr, count); }
  static std::int32_t write_null(Ring *ring, std::int32_t count) { return rbuffer_write(ring, nullptr, count); }
};

struct TwoPlanes {
  using Ring = rbuffer2;
  static constexpr auto create = rbuffer2_create;
  static constexpr auto destroy = rbuffer2_destroy;
  static constexpr auto set_size = rbuffer2_set_size;
  static constexpr auto flush = rbuffer2_flush;
  static constexpr auto flush_w = rbuffer2_flush_w;
  static constexpr auto flush_sync = rbuffer2_flush_sync;
  static constexpr auto used_space = rbuffer2_used_space;
  static constexpr auto free_space = rbuffer2_free_space;
  static constexpr auto size = rbuffer2_size;

  static std::int32_t write(Ring *ring, const Bytes &bytes) {
    return rbuffer2_write(ring, bytes.data(), complement(bytes).data(), count_of(bytes));
  }
  // Bytes in which the planes disagree come out as 0xee.
  static std::int32_t read(Ring *ring, Bytes &bytes) {
    Bytes other(bytes.size());
    const std::int32_t count = rbuffer2_read(ring, bytes.data(), other.data(), count_of(bytes));
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
      if (static_cast<std::uint8_t>(~other[i]) != bytes[i]) bytes[i] = 0xee;
    }
    return count;
  }
  static std::int32_t drop(Ring *ring, std::int32_t count) { return rbuffer2_read(ring, nullptr, nullptr, count); }
  static std::int32_t write_null(Ring *ring, std::int32_t count) {
    return rbuffer2_write(ring, nullptr, nullptr, count);
  }
};

}  // namespace auspool::testing
