// The filters that shape noise: 1 - zeros[0] z^-1 - zeros[1] z^-2 ..., over 1 + (poles[0] - zeros[0]) z^-1 ... where
// there are poles.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "auspool/bitbox.h"

namespace auspool {

struct ShapeFilter {
  std::unique_ptr<float[]> zeros, poles;  // null where there are none
  std::int32_t order = 0;
};

// The filter of a dither type at a rate, of order 0 for the types that do not shape; none where a type, a rate or a
// custom filter will not do. Throws std::bad_alloc.
std::optional<ShapeFilter> make_shape_filter(std::uint32_t type, const bitbox_custom_filter *custom, float sample_rate);

}  // namespace auspool
