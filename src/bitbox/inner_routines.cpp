#include "bitbox/inner_routines.h"

#include "bitbox/format.h"
#include "bitbox/strided.h"

namespace auspool {
namespace {

using samples::Integer;
using samples::Order;

// A source is only read; Samples has one form for both sides.
Samples samples_of(const void *first, std::ptrdiff_t sample_bytes, std::int32_t stride) {
  auto *bytes = const_cast<std::uint8_t *>(static_cast<const std::uint8_t *>(first));
  return {bytes, stride * sample_bytes, sample_bytes};
}

template <typename Real, Order kFrom, Order kTo>
void float_to_float(const void *source, std::uint32_t source_format, std::int32_t source_stride, void *target,
                    std::uint32_t, std::int32_t target_stride, std::size_t frames) {
  const bool from_double = width_of(source_format) == 64;
  constexpr bool kToDouble = sizeof(Real) == 8;
  convert_strided(samples::float_to_float(from_double, kFrom, kToDouble, kTo),
                  samples_of(source, from_double ? 8 : 4, source_stride),
                  samples_of(target, sizeof(Real), target_stride), frames);
}

constexpr InnerRoutine bitconvert_f2f32 = float_to_float<float, Order::kLittle, Order::kLittle>;
constexpr InnerRoutine bitconvert_f2f32swap = float_to_float<float, Order::kLittle, Order::kBig>;
constexpr InnerRoutine bitconvert_fswap2f32 = float_to_float<float, Order::kBig, Order::kLittle>;
constexpr InnerRoutine bitconvert_fswap2f32swap = float_to_float<float, Order::kBig, Order::kBig>;
constexpr InnerRoutine bitconvert_f2f64 = float_to_float<double, Order::kLittle, Order::kLittle>;
constexpr InnerRoutine bitconvert_f2f64swap = float_to_float<double, Order::kLittle, Order::kBig>;
constexpr InnerRoutine bitconvert_fswap2f64 = float_to_float<double, Order::kBig, Order::kLittle>;
constexpr InnerRoutine bitconvert_fswap2f64swap = float_to_float<double, Order::kBig, Order::kBig>;

// The source is in native order.
template <Integer kTo>
void float_to_integer(const void *source, std::uint32_t source_format, std::int32_t source_stride, void *target,
                      std::uint32_t target_format, std::int32_t target_stride, std::size_t frames) {
  const bool from_double = width_of(source_format) == 64;
  convert_strided(samples::float_to_integer(from_double, kTo, order_of(target_format)),
                  samples_of(source, from_double ? 8 : 4, source_stride),
                  samples_of(target, samples::bytes_of(kTo), target_stride), frames);
}

constexpr InnerRoutine bitconvert_f2i16 = float_to_integer<Integer::k16>;
constexpr InnerRoutine bitconvert_f2i16_unpacked = float_to_integer<Integer::k16Unpacked>;
constexpr InnerRoutine bitconvert_f2i24 = float_to_integer<Integer::k24>;
constexpr InnerRoutine bitconvert_f2i24_unpacked = float_to_integer<Integer::k24Unpacked>;
constexpr InnerRoutine bitconvert_f2i32 = float_to_integer<Integer::k32>;

// The target is left in native order.
template <Integer kFrom>
void integer_to_float(const void *source, std::uint32_t source_format, std::int32_t source_stride, void *target,
                      std::uint32_t target_format, std::int32_t target_stride, std::size_t frames) {
  const bool to_double = width_of(target_format) == 64;
  convert_strided(samples::integer_to_float(kFrom, order_of(source_format), to_double),
                  samples_of(source, samples::bytes_of(kFrom), source_stride),
                  samples_of(target, to_double ? 8 : 4, target_stride), frames);
}

constexpr InnerRoutine bitconvert_i162f = integer_to_float<Integer::k16>;
constexpr InnerRoutine bitconvert_i16_unpacked2f = integer_to_float<Integer::k16Unpacked>;
constexpr InnerRoutine bitconvert_i242f = integer_to_float<Integer::k24>;
constexpr InnerRoutine bitconvert_i24_unpacked2f = integer_to_float<Integer::k24Unpacked>;
constexpr InnerRoutine bitconvert_i322f = integer_to_float<Integer::k32>;

}  // namespace

InnerRoutine float_to_float_routine(std::uint32_t source_format, std::uint32_t target_format) {
  static constexpr InnerRoutine kRoutines[2][2][2] = {
      // [64 bits][source swapped][target swapped]
      {{bitconvert_f2f32, bitconvert_f2f32swap}, {bitconvert_fswap2f32, bitconvert_fswap2f32swap}},
      {{bitconvert_f2f64, bitconvert_f2f64swap}, {bitconvert_fswap2f64, bitconvert_fswap2f64swap}}};
  return kRoutines[width_of(target_format) == 64][is_big_endian(source_format)][is_big_endian(target_format)];
}

InnerRoutine float_to_integer_routine(std::uint32_t target_format) {
  switch (width_of(target_format)) {
  case 16:
    return is_unpacked(target_format) ? bitconvert_f2i16_unpacked : bitconvert_f2i16;
  case 24:
    return is_unpacked(target_format) ? bitconvert_f2i24_unpacked : bitconvert_f2i24;
  case 32:
    return bitconvert_f2i32;
  default:
    return nullptr;
  }
}

InnerRoutine integer_to_float_routine(std::uint32_t source_format) {
  switch (width_of(source_format)) {
  case 16:
    return is_unpacked(source_format) ? bitconvert_i16_unpacked2f : bitconvert_i162f;
  case 24:
    return is_unpacked(source_format) ? bitconvert_i24_unpacked2f : bitconvert_i242f;
  case 32:
    return bitconvert_i322f;
  default:
    return nullptr;
  }
}

}  // namespace auspool
