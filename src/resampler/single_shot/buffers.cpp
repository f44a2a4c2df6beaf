#include "resampler/single_shot/buffers.h"

namespace auspool {
namespace {

// The largest count on the way of `block` samples through the chain, the block itself included.
std::int32_t largest_count(const raesampler &chain, std::int32_t block) {
  std::int32_t largest = block;
  for (std::int32_t i = 0, count = block; i < chain.stage_count; ++i) {
    count = stage_bound(chain.stages[i], count);
    largest = std::max(largest, count);
  }
  return largest;
}

// What each side holds: the block and the output of every second stage lie in the first buffers. Blocks of another
// sample size are laid beside the samples they become, so neither side is below half of the other.
void set_capacities(const raesampler &chain, BlockSizes *sizes) {
  std::size_t *capacity = sizes->capacity;
  capacity[0] = static_cast<std::size_t>(sizes->block);
  capacity[1] = 0;
  for (std::int32_t i = 0, count = sizes->block; i < chain.stage_count; ++i) {
    count = stage_bound(chain.stages[i], count);
    std::size_t &side = capacity[1 - i % 2];
    side = std::max(side, static_cast<std::size_t>(count));
  }
  capacity[0] = std::max(capacity[0], (capacity[1] + 1) / 2);
  capacity[1] = std::max(capacity[1], (capacity[0] + 1) / 2);
}

}  // namespace

BlockSizes size_blocks(const raesampler &chain, std::int32_t most) {
  constexpr std::int64_t kMostSamples = 1 << 30;
  std::int64_t limit = most;
  std::int64_t block = most;
  while (true) {
    const std::int64_t peak = largest_count(chain, static_cast<std::int32_t>(block));
    if (peak <= limit) break;
    block = limit * block / peak;
    if (block < 2) block = limit *= 2;
    if (limit > kMostSamples) return {};
  }
  BlockSizes sizes = {static_cast<std::int32_t>(block), {}};
  set_capacities(chain, &sizes);
  return sizes;
}

ChannelBuffers::ChannelBuffers(std::size_t channels, std::size_t sample_size, const BlockSizes &sizes)
    : bytes_{sizes.capacity[0] * sample_size, sizes.capacity[1] * sample_size},
      memory_{make_block<std::byte>(channels * bytes_[0]), make_block<std::byte>(channels * bytes_[1])},
      pairs_(channels) {
  restore();
}

void ChannelBuffers::restore() {
  for (std::size_t channel = 0; channel < pairs_.size(); ++channel) {
    pairs_[channel] = {memory_[0].get() + channel * bytes_[0], memory_[1].get() + channel * bytes_[1]};
  }
}

}  // namespace auspool
