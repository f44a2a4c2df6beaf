// An atom that is being built: 32-bit words in the processor's order, stored big-endian in one pass when it is written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

namespace auspool::m4a {

using Words = std::vector<std::uint32_t>;

// Bytes of a field that crosses the borders of words: the byte at offset 0 is the highest of the first word. The bytes
// that are replaced must be zero.
void put_bytes(Words &words, std::size_t offset, std::span<const std::uint8_t> bytes);

inline std::size_t size_of(const Words &words) {
  return 4 * words.size();
}

// Both return the bytes that were written, and need no memory.
std::size_t write(std::FILE *file, std::span<const std::uint32_t> words);
std::size_t write(std::FILE *file, std::span<const std::uint8_t> bytes);

}  // namespace auspool::m4a
