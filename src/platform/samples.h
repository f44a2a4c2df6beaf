// Rows of samples from one format to another, in the widest vectors that this processor has.
//
// Rows are contiguous, need no alignment and must not overlap, except that a row may be converted in place where the
// sample size stays the same. Nothing here allocates, locks or makes a system call. Results do not depend on the
// processor.
#pragma once

#include <cstddef>
#include <cstdint>

namespace auspool::samples {

// Signed integers as they lie in memory. The unpacked ones are 32-bit integers with the range of fewer bits.
enum class Integer : std::uint8_t { k16, k16Unpacked, k24, k24Unpacked, k32 };
inline constexpr std::size_t kIntegers = 5;

constexpr int bits_of(Integer integer) {
  constexpr int kBits[kIntegers] = {16, 16, 24, 24, 32};
  return kBits[static_cast<std::size_t>(integer)];
}

constexpr std::size_t bytes_of(Integer integer) {
  constexpr std::size_t kBytes[kIntegers] = {2, 4, 3, 4, 4};
  return kBytes[static_cast<std::size_t>(integer)];
}

enum class Order : bool { kLittle, kBig };

using Convert = void (*)(const void *from, void *to, std::size_t count);

// Little-endian floats, of 64 bits or of 32, to integers: times half the number of codes and rounded to the nearest,
// ties to even. Below -1.0 and above the highest code's value come the extreme codes. A 32-bit float of 1.0 becomes the
// lowest of the 32-bit integers: the highest is none of its values, and the product wraps. NaN becomes 0.
Convert float_to_integer(bool from_double, Integer to, Order to_order);

// 32-bit floats to packed integers of 16 or 24 bits, times half the number of codes and toward zero. Above 0.9999694
// for 16 bits and 0.99999988 for 24 comes the highest code, below -1.0 the lowest. NaN becomes 0.
Convert float_to_integer_toward_zero(Integer to, Order to_order);

// Integers to little-endian floats. Unpacked ones are taken with all 32 bits.
Convert integer_to_float(Integer from, Order from_order, bool to_double);

// Floats to floats. Of one width, every bit is kept.
Convert float_to_float(bool from_double, Order from_order, bool to_double, Order to_order);

// Two rows of samples of 2, 3, 4 or 8 bytes into one of pairs, and pairs into two rows. Every bit is kept.
void interleave(const void *left, const void *right, void *pairs, std::size_t sample_bytes, std::size_t count);
void deinterleave(const void *pairs, void *left, void *right, std::size_t sample_bytes, std::size_t count);

}  // namespace auspool::samples
