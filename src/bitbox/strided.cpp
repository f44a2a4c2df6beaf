#include "bitbox/strided.h"

#include <algorithm>
#include <cstring>

namespace auspool {
namespace {

constexpr std::size_t kTile = 256;  // samples: two tiles stay in the first-level cache
constexpr std::size_t kTileBytes = kTile * sizeof(double);

// A copy of a size that the compiler knows is one load and one store.
template <std::size_t kBytes>
void copy_samples(const std::uint8_t *from, std::ptrdiff_t from_stride, std::uint8_t *to, std::ptrdiff_t to_stride,
                  std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const auto at = static_cast<std::ptrdiff_t>(i);
    std::memcpy(to + at * to_stride, from + at * from_stride, kBytes);
  }
}

void copy_samples(const std::uint8_t *from, std::ptrdiff_t from_stride, std::uint8_t *to, std::ptrdiff_t to_stride,
                  std::ptrdiff_t sample_bytes, std::size_t count) {
  switch (sample_bytes) {
  case 2:
    return copy_samples<2>(from, from_stride, to, to_stride, count);
  case 3:
    return copy_samples<3>(from, from_stride, to, to_stride, count);
  case 4:
    return copy_samples<4>(from, from_stride, to, to_stride, count);
  default:
    return copy_samples<8>(from, from_stride, to, to_stride, count);
  }
}

}  // namespace

void gather(const Samples &from, std::size_t count, void *to) {
  if (from.contiguous()) return void(std::memcpy(to, from.first, count * static_cast<std::size_t>(from.sample_bytes)));
  copy_samples(from.first, from.stride_bytes, static_cast<std::uint8_t *>(to), from.sample_bytes, from.sample_bytes,
               count);
}

void scatter(const void *from, const Samples &to, std::size_t count) {
  if (to.contiguous()) return void(std::memcpy(to.first, from, count * static_cast<std::size_t>(to.sample_bytes)));
  copy_samples(static_cast<const std::uint8_t *>(from), to.sample_bytes, to.first, to.stride_bytes, to.sample_bytes,
               count);
}

void convert_strided(samples::Convert kernel, const Samples &source, const Samples &target, std::size_t count) {
  if (source.contiguous() && target.contiguous()) return kernel(source.first, target.first, count);
  alignas(64) std::uint8_t in[kTileBytes];
  alignas(64) std::uint8_t out[kTileBytes];
  for (std::size_t done = 0; done < count; done += kTile) {
    const std::size_t some = std::min(kTile, count - done);
    const Samples from = source.from(done), to = target.from(done);
    if (!from.contiguous()) gather(from, some, in);
    kernel(from.contiguous() ? from.first : in, to.contiguous() ? to.first : out, some);
    if (!to.contiguous()) scatter(out, to, some);
  }
}

}  // namespace auspool
