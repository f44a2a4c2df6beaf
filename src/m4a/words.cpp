#include "m4a/words.h"

#include <algorithm>

#include "base/byte_order.h"

namespace auspool::m4a {

void put_bytes(Words &words, std::size_t offset, std::span<const std::uint8_t> bytes) {
  for (const std::uint8_t byte : bytes) {
    words[offset / 4] |= static_cast<std::uint32_t>(byte) << (24 - 8 * (offset % 4));
    ++offset;
  }
}

std::size_t write(std::FILE *file, std::span<const std::uint32_t> words) {
  constexpr std::size_t kWordsAtOnce = 1024;
  std::uint8_t bytes[4 * kWordsAtOnce];
  std::size_t written = 0;
  while (!words.empty()) {
    const std::size_t count = std::min(words.size(), kWordsAtOnce);
    for (std::size_t i = 0; i < count; ++i) store_be(&bytes[4 * i], words[i]);
    written += std::fwrite(bytes, 1, 4 * count, file);
    words = words.subspan(count);
  }
  return written;
}

std::size_t write(std::FILE *file, std::span<const std::uint8_t> bytes) {
  return std::fwrite(bytes.data(), 1, bytes.size(), file);
}

}  // namespace auspool::m4a
