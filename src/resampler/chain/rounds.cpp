#include "resampler/chain/rounds.h"

#include "resampler/whole_numbers.h"

namespace auspool {
namespace {

// The most that any stage but the last may write for a round of `count` samples.
std::int32_t largest_between_stages(const raesampler &chain, std::int32_t count) {
  std::int32_t largest = 0;
  for (std::int32_t i = 0; i < chain.stage_count - 1; ++i) {
    count = stage_bound(chain.stages[i], count);
    largest = std::max(largest, count);
  }
  return largest;
}

// The longest round, of at most `count` samples, that stays within `room` samples between stages; 0 for none.
std::int32_t longest_round(const raesampler &chain, std::int32_t count, std::int32_t room) {
  return largest_fitting(count, [&](std::int32_t samples) { return largest_between_stages(chain, samples) <= room; });
}

// How much of a round's input may be laid out at a time. It lies at the end of the two buffers and is read while stage
// 0 fills them from the start, so a stage that gives less than it takes leaves room for more than one buffer of input.
std::int32_t longest_layout(const raesampler &chain, std::int32_t round, std::int32_t both) {
  const std::int32_t one = both / 2;
  if (round <= one) return one;
  const std::int32_t output = stage_bound(chain.stages[0], round);
  if (output >= round) return one;
  const double share = static_cast<double>(output) / round;
  const std::int32_t layout = to_count(both / (share + 1.0));
  const std::int64_t needed = std::int64_t{stage_bound(chain.stages[0], layout)} + layout;
  return needed <= both ? layout : one;
}

std::int32_t samples_in(const raesampler &chain, std::size_t bytes) {
  return static_cast<std::int32_t>(bytes / chain.sample_size);
}

}  // namespace

bool reserve_scratch(raesampler &chain) {
  const std::int32_t peak = largest_between_stages(chain, 1);
  if (peak <= samples_in(chain, RoundStorage::kBytes)) return true;
  const std::int64_t needed = std::int64_t{peak} * 2 * chain.sample_size;
  if (needed <= chain.scratch_capacity) return true;
  if (needed != to_count(needed)) return false;
  chain.scratch = try_block<std::byte>(static_cast<std::size_t>(needed));
  chain.scratch_capacity = chain.scratch ? to_count(needed) : 0;
  return chain.scratch != nullptr;
}

Rounds plan_rounds(raesampler &chain, RoundStorage &storage, std::int32_t count, bool deinterleave) {
  std::byte *buffers = storage.bytes;
  std::int32_t both = samples_in(chain, sizeof storage.bytes);
  std::int32_t samples = longest_round(chain, count, both / 2);
  if (samples == 0) {
    if (!reserve_scratch(chain)) return {};
    buffers = chain.scratch.get();
    both = samples_in(chain, static_cast<std::size_t>(chain.scratch_capacity)) & ~1;
    samples = longest_round(chain, count, both / 2);
  }
  Rounds rounds = {buffers, buffers + static_cast<std::size_t>(both / 2) * chain.sample_size, buffers, samples};
  if (!deinterleave) return rounds;
  // A single stage writes to the host, and its input may fill both buffers.
  const std::int32_t layout = chain.stage_count == 1 ? both : longest_layout(chain, samples, both);
  rounds.deinterleaved = buffers + static_cast<std::size_t>(both - layout) * chain.sample_size;
  rounds.samples = std::min(samples, layout);
  return rounds;
}

}  // namespace auspool
