#include "bitbox/swap.h"

#include "bitbox/strided.h"

namespace auspool {
namespace {

void swap(bool wide, std::uint8_t *data, std::int32_t stride, std::uint32_t frames) {
  const std::ptrdiff_t bytes = wide ? 8 : 4;
  const Samples samples{data, stride * bytes, bytes};
  convert_strided(samples::float_to_float(wide, samples::Order::kLittle, wide, samples::Order::kBig), samples, samples,
                  frames);
}

}  // namespace

void swap32(std::uint8_t *data, std::int32_t stride, std::uint32_t frames) {
  swap(false, data, stride, frames);
}

void swap64(std::uint8_t *data, std::int32_t stride, std::uint32_t frames) {
  swap(true, data, stride, frames);
}

}  // namespace auspool
