// Two channels that lie apart on one side and are interleaved on the other. Whole vectors of pairs are woven or taken
// apart in a tile, where a stride would move one sample at a time.
#pragma once

#include <algorithm>

#include "bitbox/block.h"

namespace auspool {

// Whether a block is one of two planes to pairs, or the other way round.
bool can_weave(const Block &block);

// `convert(block)` for blocks of pairs on both sides, as one channel. Nothing may depend on the order of the samples.
template <typename Convert>
void convert_woven(const Block &block, const Convert &convert) {
  constexpr std::size_t kTileFrames = 256;
  alignas(64) std::uint8_t tile[2 * kTileFrames * sizeof(double)];
  void *const pairs[] = {tile};
  const auto &[source, target, channels, all] = block;
  for (std::size_t done = 0; done < all; done += kTileFrames) {
    const std::size_t frames = std::min(kTileFrames, all - done);
    void *const from[] = {source.at(0, done), source.at(1, done)};
    void *const to[] = {target.at(0, done), target.at(1, done)};
    if (source.stride == 1) {
      samples::interleave(from[0], from[1], tile, static_cast<std::size_t>(bytes_per_sample(source.format)), frames);
      convert(Block{{pairs, source.format, 1}, {to, target.format, 1}, 1, 2 * frames});
    } else {
      convert(Block{{from, source.format, 1}, {pairs, target.format, 1}, 1, 2 * frames});
      samples::deinterleave(tile, to[0], to[1], static_cast<std::size_t>(bytes_per_sample(target.format)), frames);
    }
  }
}

}  // namespace auspool
