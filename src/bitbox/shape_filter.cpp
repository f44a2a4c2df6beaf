#include "bitbox/shape_filter.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "bitbox/fweighted_shape.h"
#include "bitbox/shape_tables.h"
#include "bitbox/simple_shape.h"

namespace auspool {
namespace {

constexpr float kLowestRate = 44100;  // below it there is no room above the audible band to move noise to

std::unique_ptr<float[]> copy_of(std::span<const float> taps) {
  auto copy = std::make_unique<float[]>(taps.size());
  std::copy(taps.begin(), taps.end(), copy.get());
  return copy;
}

ShapeFilter from_taps(std::span<const float> taps) {
  return {copy_of(taps), nullptr, static_cast<std::int32_t>(taps.size())};
}

std::optional<ShapeFilter> custom_filter(const bitbox_custom_filter *custom) {
  if (!custom || custom->kind != 0 || custom->count == 0 || !custom->taps) return std::nullopt;
  if (custom->count >= INT32_MAX) return std::nullopt;
  return from_taps({custom->taps, custom->count});
}

// A pair of poles near the edge of the band, and zeros that cancel them where the noise should be white.
ShapeFilter filter_with_poles(float sample_rate) {
  constexpr double kRadius = 0.9;
  const double angle = sample_rate >= 64000 ? 2.679 : 2.85;
  const double p1 = -2 * kRadius * std::cos(angle);
  const double p2 = kRadius * kRadius;
  const float poles[] = {static_cast<float>(p1), static_cast<float>(p2)};
  const float zeros[] = {static_cast<float>(p1 - 0.6438838363486277), static_cast<float>(p2 - 0.28622500000000006)};
  ShapeFilter filter = from_taps(zeros);
  filter.poles = copy_of(poles);
  return filter;
}

ShapeFilter fweighted_filter(float sample_rate) {
  ShapeFilter filter;
  filter.order = create_fweighted_shape_filter(static_cast<double>(sample_rate), filter.zeros);
  return filter;
}

// The types that need room above the audible band.
std::optional<ShapeFilter> filter_for_rate(std::uint32_t type, float sample_rate) {
  switch (type) {
  case BITBOX_DITHER_SIMPLE:
    return from_taps(simple_shape(static_cast<double>(sample_rate)));
  case BITBOX_DITHER_POLES:
    return filter_with_poles(sample_rate);
  case BITBOX_DITHER_F_WEIGHTED:
    return fweighted_filter(sample_rate);
  case BITBOX_DITHER_FLAT_LOW:
    return from_taps(flat_floor_low_coeffs);
  case BITBOX_DITHER_FLAT_MED:
    return from_taps(flat_floor_med_coeffs);
  case BITBOX_DITHER_FLAT_HIGH:
    return from_taps(flat_floor_high_coeffs);
  default:
    return std::nullopt;
  }
}

}  // namespace

std::optional<ShapeFilter> make_shape_filter(std::uint32_t type, const bitbox_custom_filter *custom,
                                             float sample_rate) {
  if (type == BITBOX_DITHER_RPDF || type == BITBOX_DITHER_TPDF) return ShapeFilter{};
  if (type == BITBOX_DITHER_CUSTOM) return custom_filter(custom);
  if (!(sample_rate >= kLowestRate)) return std::nullopt;  // NaN is none
  return filter_for_rate(type, sample_rate);
}

}  // namespace auspool
