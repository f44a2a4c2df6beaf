#include "bitbox/block.h"

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

Run joined(const Block &block) {
  Run run = channel_of(block, 0);
  run.source_stride = run.target_stride = 1;
  run.frames *= static_cast<std::size_t>(block.channels);
  return run;
}

Run channel_of(const Block &block, std::int32_t channel) {
  return {static_cast<std::uint8_t *>(block.source.channels[channel]),
          block.source.stride,
          static_cast<std::uint8_t *>(block.target.channels[channel]),
          block.target.stride,
          static_cast<std::size_t>(block.frames),
          channel};
}

}  // namespace auspool
