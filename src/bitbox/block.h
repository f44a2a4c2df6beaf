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

  std::ptrdiff_t stride_bytes() const { return stride * bytes_per_sample(format); }
};

struct Block {
  Side source, target;
  std::int32_t channels;
  std::int32_t frames;
};

// One channel of a block, or all of them where they are joined.
struct Run {
  std::uint8_t *source;
  std::int32_t source_stride;
  std::uint8_t *target;
  std::int32_t target_stride;
  std::size_t frames;
  std::int32_t channel;  // 0 when joined
};

// Whether the channels are contiguous interleaved data on both sides: one long channel.
bool can_join(const Block &block);

Run joined(const Block &block);
Run channel_of(const Block &block, std::int32_t channel);

template <typename Convert>
void for_each_run(const Block &block, bool may_join, const Convert &convert) {
  if (may_join && can_join(block)) return convert(joined(block));
  for (std::int32_t channel = 0; channel < block.channels; ++channel) convert(channel_of(block, channel));
}

// The routes. Formats are valid and of the kinds that the name says, and `frames` is above 0. `dither` may be null.
void bitconvert_f2f(const Block &block);
void bitconvert_f2i(const Block &block, bitbox_dither *dither);
void bitconvert_i2f(const Block &block);
void bitconvert_i2i(const Block &block, bitbox_dither *dither);

// The same for one run. The dither's channel is that of the run.
void bitconvert_f2i(const Block &block, const Run &run, bitbox_dither *dither);

}  // namespace auspool
