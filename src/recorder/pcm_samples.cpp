#include "recorder/pcm_samples.h"

#include <bit>
#include <cmath>
#include <cstring>

namespace auspool {
namespace {

// A sample above this is full scale. For 16 bits the bound is 0.9999694 as a double; the largest float that is not
// above it serves as well, and keeps the loop in single precision. Products with powers of two are exact.
template <int kBits>
constexpr float kFullScaleAbove = kBits == 16 ? 0x1.fffbfcp-1f : 0.99999988f;
static_assert(double{kFullScaleAbove<16>} <= 0.9999694 && double{0x1.fffbfep-1f} > 0.9999694);

// Selections only, so that the compiler turns loops over it into vector code.
template <int kBits>
std::int32_t to_integer(float sample) {
  constexpr float kScale = static_cast<float>(1 << (kBits - 1));
  float scaled = sample * kScale;
  scaled = sample > kFullScaleAbove<kBits> ? kScale - 1.0f : scaled;
  scaled = sample < -1.0f ? -kScale : scaled;
  scaled = sample == sample ? scaled : 0.0f;
  return static_cast<std::int32_t>(scaled);
}

template <std::endian kOrder>
void to_int16(const float *from, std::uint8_t *to, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    auto word = static_cast<std::uint16_t>(to_integer<16>(from[i]));
    if constexpr (kOrder != std::endian::native) word = static_cast<std::uint16_t>(word << 8 | word >> 8);
    std::memcpy(to + 2 * i, &word, sizeof word);
  }
}

template <std::endian kOrder>
void to_int24(const float *from, std::uint8_t *to, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const auto word = static_cast<std::uint32_t>(to_integer<24>(from[i]));
    std::uint8_t *const bytes = to + 3 * i;
    bytes[kOrder == std::endian::little ? 0 : 2] = static_cast<std::uint8_t>(word);
    bytes[1] = static_cast<std::uint8_t>(word >> 8);
    bytes[kOrder == std::endian::little ? 2 : 0] = static_cast<std::uint8_t>(word >> 16);
  }
}

}  // namespace

void floats_to_int16_be(const float *from, std::uint8_t *to, std::size_t count) {
  to_int16<std::endian::big>(from, to, count);
}
void floats_to_int16_le(const float *from, std::uint8_t *to, std::size_t count) {
  to_int16<std::endian::little>(from, to, count);
}
void floats_to_int24_be(const float *from, std::uint8_t *to, std::size_t count) {
  to_int24<std::endian::big>(from, to, count);
}
void floats_to_int24_le(const float *from, std::uint8_t *to, std::size_t count) {
  to_int24<std::endian::little>(from, to, count);
}

}  // namespace auspool
