#include "auspool/ieee_float.h"

#include <cmath>
#include <limits>

#include "base/byte_order.h"

namespace auspool {
namespace {

// Single and double: sign, exponent field, mantissa without its leading bit. `Bits` is the unsigned word of the width.
template <typename Bits, int kMantissaBits, int kExponentBits>
struct Packed {
  static constexpr int kLargestField = (1 << kExponentBits) - 1;
  // frexp gives a fraction below 1, so its exponent is one more than the mathematical one.
  static constexpr int kBias = kLargestField / 2 - 1;
  static constexpr int kSmallestUnit = -kBias - kMantissaBits;  // the exponent of a denormal's last bit
  static constexpr Bits kLeadingBit = Bits{1} << kMantissaBits;
  static constexpr Bits kSign = Bits{1} << (kMantissaBits + kExponentBits);

  static Bits from(double value) {
    if (value == 0.0) return 0;
    const Bits sign = value < 0 ? kSign : 0;
    int exponent = 0;
    const double fraction = std::frexp(std::fabs(value), &exponent);
    // Infinity and NaN leave the exponent open: only the fraction tells.
    if (!(fraction < 1.0) || exponent + kBias >= kLargestField) return sign | Bits{kLargestField} << kMantissaBits;
    if (exponent + kBias < 1) {
      return sign | static_cast<Bits>(std::floor(std::ldexp(fraction, exponent - kSmallestUnit)));
    }
    const Bits mantissa = static_cast<Bits>(std::floor(std::ldexp(fraction, kMantissaBits + 1)));
    return sign | static_cast<Bits>(exponent + kBias) << kMantissaBits | (mantissa & (kLeadingBit - 1));
  }

  static double to(Bits bits) {
    const int field = static_cast<int>(bits >> kMantissaBits) & kLargestField;
    const Bits mantissa = bits & (kLeadingBit - 1);
    double magnitude;
    if (field == kLargestField) {
      magnitude = std::numeric_limits<double>::infinity();
    } else if (field == 0) {
      magnitude = std::ldexp(static_cast<double>(mantissa), kSmallestUnit);
    } else {
      magnitude = std::ldexp(static_cast<double>(mantissa | kLeadingBit), kSmallestUnit + field - 1);
    }
    return bits & kSign ? -magnitude : magnitude;
  }
};

using Single = Packed<std::uint32_t, 23, 8>;
using Double = Packed<std::uint64_t, 52, 11>;

constexpr std::uint16_t kExtendedSign = 0x8000, kExtendedLargest = 0x7fff;
constexpr int kExtendedBias = 16382;  // for an exponent as frexp gives it

}  // namespace
}  // namespace auspool

using namespace auspool;

void ConvertToIeeeSingle(std::uint8_t bytes[4], double value) {
  store_be(bytes, Single::from(value));
}
void ConvertToIeeeDouble(std::uint8_t bytes[8], double value) {
  store_be(bytes, Double::from(value));
}

void ConvertToIeeeExtended(std::uint8_t bytes[10], double value) {
  std::uint16_t word = value < 0 ? kExtendedSign : 0;
  std::uint32_t high = 0, low = 0;
  if (value != 0.0) {
    int exponent = 0;
    double fraction = std::frexp(std::fabs(value), &exponent);
    if (!(fraction < 1.0) || exponent > 16384) {
      word |= kExtendedLargest;
    } else {
      if (exponent < -kExtendedBias) {
        fraction = std::ldexp(fraction, exponent + kExtendedBias);
        exponent = -kExtendedBias;
      }
      word = static_cast<std::uint16_t>(word | (exponent + kExtendedBias));
      fraction = std::ldexp(fraction, 32);
      high = static_cast<std::uint32_t>(std::floor(fraction));
      low = static_cast<std::uint32_t>(std::floor(std::ldexp(fraction - std::floor(fraction), 32)));
    }
  }
  store_be(bytes, word);
  store_be(bytes + 2, high);
  store_be(bytes + 6, low);
}

double ConvertFromIeeeSingle(const std::uint8_t bytes[4]) {
  return Single::to(load_be<std::uint32_t>(bytes));
}
double ConvertFromIeeeDouble(const std::uint8_t bytes[8]) {
  return Double::to(load_be<std::uint64_t>(bytes));
}

double ConvertFromIeeeExtended(const std::uint8_t bytes[10]) {
  const auto word = load_be<std::uint16_t>(bytes);
  const int field = word & kExtendedLargest;
  const double mantissa = std::ldexp(static_cast<double>(load_be<std::uint32_t>(bytes + 2)), 32) +
                          static_cast<double>(load_be<std::uint32_t>(bytes + 6));
  const double magnitude = field == kExtendedLargest ? std::numeric_limits<double>::infinity()
                                                     : std::ldexp(mantissa, field - kExtendedBias - 64);
  return word & kExtendedSign ? -magnitude : magnitude;
}
