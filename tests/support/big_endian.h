// Big-endian numbers as the bytes of a file.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

namespace auspool::testing {

std::string be16(std::uint32_t value);
std::string be32(std::uint32_t value);
std::string be64(std::uint64_t value);
std::string words(std::initializer_list<std::uint32_t> values);

}  // namespace auspool::testing
