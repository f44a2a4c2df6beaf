// A plain model of sample formats and of their conversion: one sample at a time, from bytes to bytes.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "auspool/bitbox.h"

namespace auspool::testing {

using Bytes = std::vector<std::uint8_t>;

struct Format {
  std::uint32_t word;

  int width() const { return static_cast<int>(word & 0xFF); }
  bool is_float() const { return (word & 0x4000) != 0; }
  bool is_big() const { return (word & 0x2000) == 0 && (word & 0x1000) != 0; }
  bool is_unpacked() const { return !is_float() && width() < 32 && (word & 0x8000) != 0; }
  std::size_t bytes() const { return is_unpacked() ? 4 : static_cast<std::size_t>(width()) / 8; }

  std::string name() const {
    return (is_float() ? "f" : "s") + std::to_string(width()) + (is_unpacked() ? "in32" : "") +
           (is_big() ? "be" : "le");
  }
};

inline std::vector<Format> integer_formats() {
  std::vector<Format> all;
  for (std::uint32_t order : {0x0000u, 0x1000u, 0x2000u}) {
    for (std::uint32_t word : {0x10u, 0x8010u, 0x18u, 0x8018u, 0x20u}) all.push_back({word | order});
  }
  return all;
}

inline std::vector<Format> float_formats() {
  std::vector<Format> all;
  for (std::uint32_t order : {0x0000u, 0x1000u, 0x2000u}) {
    for (std::uint32_t word : {0x4020u, 0x4040u}) all.push_back({word | order});
  }
  return all;
}

inline std::vector<Format> all_formats() {
  std::vector<Format> all = integer_formats();
  for (const Format &format : float_formats()) all.push_back(format);
  return all;
}

// The bits of a sample, right-justified.
inline std::uint64_t load_bits(const Format &format, const std::uint8_t *from) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < format.bytes(); ++i) {
    const std::size_t at = format.is_big() ? i : format.bytes() - 1 - i;
    bits = bits << 8 | from[at];
  }
  return bits;
}

inline void store_bits(const Format &format, std::uint64_t bits, std::uint8_t *to) {
  for (std::size_t i = 0; i < format.bytes(); ++i) {
    const std::size_t at = format.is_big() ? format.bytes() - 1 - i : i;
    to[at] = static_cast<std::uint8_t>(bits >> (8 * i));
  }
}

inline std::int32_t integer_of_bits(const Format &format, std::uint64_t bits) {
  const std::uint64_t sign = std::uint64_t{1} << (8 * format.bytes() - 1);
  return static_cast<std::int32_t>(static_cast<std::int64_t>(bits ^ sign) - static_cast<std::int64_t>(sign));
}

inline double as_double(const Format &format, std::uint64_t bits) {
  if (format.width() == 64) {
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }
  const auto narrow = static_cast<std::uint32_t>(bits);
  float value;
  std::memcpy(&value, &narrow, sizeof value);
  return static_cast<double>(value);
}

inline std::uint64_t float_bits(const Format &format, double value) {
  std::uint64_t bits = 0;
  if (format.width() == 64) {
    std::memcpy(&bits, &value, sizeof value);
  } else {
    const auto narrow = static_cast<float>(value);
    std::uint32_t narrow_bits;
    std::memcpy(&narrow_bits, &narrow, sizeof narrow);
    bits = narrow_bits;
  }
  return bits;
}

// A value from -1.0 to 1.0 as an integer of `width` bits. 32-bit floats have limits of their own.
inline std::int32_t model_integer(int width, bool from_double, double x) {
  const double scale = width == 16 ? 32768 : width == 24 ? 8388608 : 2147483648;
  const double wide = width == 16 ? 0.999969482421875 : width == 24 ? 0.9999998807907104 : 0.9999999995343387;
  const double narrow = static_cast<double>(width == 16 ? 0.9999695f : width == 24 ? 0.9999999f : 1.0f);
  const auto highest = static_cast<std::int32_t>(scale - 1);
  if (std::isnan(x)) return 0;
  if (x < -1.0) return -highest - 1;
  if (x > (from_double ? wide : narrow)) return highest;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(std::lrint(x * scale)));
}

// The value of an integer sample as a float of the target's width.
inline double model_value(const Format &format, std::uint64_t bits, bool to_double) {
  const double factor = format.width() == 16   ? 3.0517578125e-5
                        : format.width() == 24 ? 1.1920928955078125e-7
                                               : 4.656612873077393e-10;
  const std::int32_t integer = integer_of_bits(format, bits);
  return to_double ? integer * factor : static_cast<double>(static_cast<float>(integer) * static_cast<float>(factor));
}

inline std::uint64_t model_bits(const Format &from, std::uint64_t bits, const Format &to) {
  if (to.is_float()) {
    if (!from.is_float()) return float_bits(to, model_value(from, bits, to.width() == 64));
    return from.width() == to.width() ? bits : float_bits(to, as_double(from, bits));
  }
  const double value = from.is_float() ? as_double(from, bits) : model_value(from, bits, true);
  return static_cast<std::uint32_t>(model_integer(to.width(), !from.is_float() || from.width() == 64, value));
}

inline void model_sample(const Format &from, const std::uint8_t *source, const Format &to, std::uint8_t *target) {
  store_bits(to, model_bits(from, load_bits(from, source), to), target);
}

}  // namespace auspool::testing
