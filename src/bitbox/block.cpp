#include "bitbox/block.h"

#include "bitbox/woven.h"

namespace auspool {
namespace {

bool is_interleaved(const Side &side, std::int32_t channels) {
  if (side.stride != channels) return false;
  const auto *expected = static_cast<const std::uint8_t *>(side.channels[0]);
  for (std::int32_t i = 1; i < channels; ++i) {
    expected += bytes_per_sample(side.format);
    if (side.channels[i] != expected) return false;
  }
  return true;
}

}  // namespace

bool can_join(const Block &block) {
  return block.channels > 0 && is_interleaved(block.source, block.channels) &&
         is_interleaved(block.target, block.channels);
}

bool can_weave(const Block &block) {
  if (block.channels != 2) return false;
  return block.source.stride == 1 ? is_interleaved(block.target, 2)
                                  : block.target.stride == 1 && is_interleaved(block.source, 2);
}

Block joined(const Block &block) {
  Block one = block;
  one.source.stride = one.target.stride = one.channels = 1;
  one.frames *= static_cast<std::size_t>(block.channels);
  return one;
}

Block channels_of(const Block &block, std::int32_t first, std::int32_t count) {
  Block some = block;
  some.source.channels += first;
  some.target.channels += first;
  some.channels = count;
  return some;
}

}  // namespace auspool
