// A block of audio between two formats, and the four routes from one to the other.
#pragma once

#include <cstddef>
#include <cstdint>

#include "bitbox/format.h"

struct bitbox_dither;

namespace auspool {

struct Side {
  void *const *channels;
  std::uint32_t format;
  std::int32_t stride;

  std::uint8_t *at(std::int32_t channel, std::size_t frame) const {
    return static_cast<std::uint8_t *>(channels[channel]) +
           static_cast<std::ptrdiff_t>(frame) * stride * bytes_per_sample(format);
  }
};

struct Block {
  Side source, target;
  std::int32_t channels;
  std::size_t frames;
};

// Whether the channels are contiguous interleaved data on both sides: one long channel.
bool can_join(const Block &block);

// The block as that one channel.
Block joined(const Block &block);

// Some neighbouring channels of a block.
Block channels_of(const Block &block, std::int32_t first, std::int32_t count);

// `convert(block, channel)` for blocks of one channel, whose index is 0 when they are joined.
template <typename Convert>
void for_each_channel(const Block &block, bool may_join, const Convert &convert) {
  if (may_join && can_join(block)) return convert(joined(block), 0);
  for (std::int32_t i = 0; i < block.channels; ++i) convert(channels_of(block, i, 1), i);
}

// The routes. Formats are valid and of the kinds that the name says, and `frames` is above 0. `dither` may be null.
void bitconvert_f2f(const Block &block);
void bitconvert_f2i(const Block &block, bitbox_dither *dither);
void bitconvert_i2f(const Block &block);
void bitconvert_i2i(const Block &block, bitbox_dither *dither);

}  // namespace auspool
