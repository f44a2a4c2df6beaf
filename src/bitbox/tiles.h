// Floats that lie a stride apart, changed a tile at a time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "bitbox/strided.h"
#include "platform/noise.h"

namespace auspool {

inline constexpr std::size_t kTileFrames = kNoiseTile;

// `change(samples, count)` changes contiguous samples of type Real, at most kTileFrames at once. Source and target may
// be the same samples.
template <typename Real, typename Change>
void for_each_tile(const void *source, std::int32_t source_stride, void *target, std::int32_t target_stride,
                   std::int32_t frames, const Change &change) {
  constexpr std::ptrdiff_t kBytes = sizeof(Real);
  auto *from = const_cast<std::uint8_t *>(static_cast<const std::uint8_t *>(source));
  auto *to = static_cast<std::uint8_t *>(target);
  alignas(64) Real tile[kTileFrames];
  for (std::ptrdiff_t done = 0; done < frames; done += kTileFrames) {
    const std::size_t count = std::min(kTileFrames, static_cast<std::size_t>(frames - done));
    gather({from + done * source_stride * kBytes, source_stride * kBytes, kBytes}, count, tile);
    change(tile, count);
    scatter(tile, {to + done * target_stride * kBytes, target_stride * kBytes, kBytes}, count);
  }
}

}  // namespace auspool
