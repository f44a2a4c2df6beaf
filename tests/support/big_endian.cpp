#include "support/big_endian.h"

namespace auspool::testing {
namespace {

std::string big_endian(std::uint64_t value, int bytes) {
  std::string text;
  while (bytes-- > 0) text += static_cast<char>(value >> (8 * bytes) & 0xFF);
  return text;
}

}  // namespace

std::string be16(std::uint32_t value) {
  return big_endian(value, 2);
}

std::string be32(std::uint32_t value) {
  return big_endian(value, 4);
}

std::string be64(std::uint64_t value) {
  return big_endian(value, 8);
}

std::string words(std::initializer_list<std::uint32_t> values) {
  std::string text;
  for (const std::uint32_t value : values) text += be32(value);
  return text;
}

}  // namespace auspool::testing
