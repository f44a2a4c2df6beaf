// Atoms that are being built: 32-bit words, big-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "base/byte_order.h"
#include "tags/dict/node.h"

namespace auspool::tags {

inline void put_word(Bytes &to, std::size_t at, std::size_t value) {
  store_be(&to[at], static_cast<std::uint32_t>(value));
}

inline void append_words(Bytes &to, std::initializer_list<std::size_t> words) {
  for (const std::size_t word : words) {
    to.resize(to.size() + 4);
    put_word(to, to.size() - 4, word);
  }
}

}  // namespace auspool::tags
