// The two buffers of each channel of raesampler_single_shot, and the block that they are made for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "resampler/single_shot/channel_worker.h"

namespace auspool {

struct BlockSizes {
  std::int32_t block;       // samples to read at a time
  std::size_t capacity[2];  // samples of a channel's first and second buffer
};

// The longest block, up to `most` samples, of which no stage makes more than `most`. Where even two samples grow beyond
// that, more room is taken. A block of 0: the samples cannot be counted.
BlockSizes size_blocks(const raesampler &chain, std::int32_t most);

class ChannelBuffers {
public:
  // Throws std::bad_alloc.
  ChannelBuffers(std::size_t channels, std::size_t sample_size, const BlockSizes &sizes);

  // Back to the first buffer of each channel.
  void restore();

  BufferPair &operator[](std::size_t channel) { return pairs_[channel]; }
  auto begin() { return pairs_.begin(); }
  auto end() { return pairs_.end(); }

private:
  const std::size_t bytes_[2];  // of a channel
  Block<std::byte> memory_[2];
  std::vector<BufferPair> pairs_;
};

}  // namespace auspool
