// Numbers in a stated byte order, stored and fetched byte by byte. `T` is any integer type.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace auspool {

template <typename T>
constexpr void store_be(std::uint8_t *to, T value) {
  using U = std::make_unsigned_t<T>;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    to[i] = static_cast<std::uint8_t>(static_cast<U>(value) >> (8 * (sizeof(T) - 1 - i)));
  }
}

template <typename T>
constexpr void store_le(std::uint8_t *to, T value) {
  using U = std::make_unsigned_t<T>;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    to[i] = static_cast<std::uint8_t>(static_cast<U>(value) >> (8 * i));
  }
}

template <typename T>
constexpr T load_be(const std::uint8_t *from) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) value = value << 8 | from[i];
  return static_cast<T>(value);
}

template <typename T>
constexpr T load_le(const std::uint8_t *from) {
  std::uint64_t value = 0;
  for (std::size_t i = sizeof(T); i-- > 0;) value = value << 8 | from[i];
  return static_cast<T>(value);
}

}  // namespace auspool
