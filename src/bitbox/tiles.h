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
  const Samples from{const_cast<std::uint8_t *>(static_cast<const std::uint8_t *>(source)), source_stride * kBytes,
                     kBytes};
  const Samples to{static_cast<std::uint8_t *>(target), target_stride * kBytes, kBytes};
  const bool in_place = source == target && from.contiguous() && to.contiguous();
  alignas(64) Real tile[kTileFrames];
  const auto all = static_cast<std::size_t>(std::max(frames, 0));
  for (std::size_t done = 0; done < all; done += kTileFrames) {
    const std::size_t count = std::min(kTileFrames, all - done);
    if (in_place) {
      change(static_cast<Real *>(target) + done, count);
    } else {
      gather(from.from(done), count, tile);
      change(tile, count);
      scatter(tile, to.from(done), count);
    }
  }
}

}  // namespace auspool
