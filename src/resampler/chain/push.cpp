// One push of input through all stages of a chain: one channel after the other, each in rounds that are short enough
// for two small buffers between the stages.
#include "resampler/chain/outlet.h"
#include "resampler/chain/rounds.h"
#include "resampler/delay_line.h"

namespace auspool {
namespace {

// Takes one round of one channel through the stages.
void run_round(const raesampler &chain, std::size_t channel, const Rounds &rounds, bool deinterleave,
               const std::byte *from, std::int32_t stride, std::int32_t count, Outlet &outlet) {
  if (deinterleave) {
    copy_samples(static_cast<std::int32_t>(chain.sample_size), from, stride, rounds.deinterleaved, 1, count);
    from = rounds.deinterleaved;
    stride = 1;
  }
  std::byte *to = rounds.first;
  for (std::int32_t i = 0; i < chain.stage_count - 1 && count > 0; ++i) {
    count = run_chain_stage(chain, i, channel, from, stride, to, 1, count);
    from = to;
    stride = 1;
    to = to == rounds.first ? rounds.second : rounds.first;
  }
  // No output is normal: a stage holds its input in its delay line.
  if (count > 0) outlet.take(from, stride, count);
}

}  // namespace

std::int32_t resampler_resample_push(raesampler &chain, const InputChannels &in, const OutputChannels &out,
                                     std::int32_t room, std::int32_t count) {
  if (count < 1) return 0;
  RoundStorage storage;
  const bool deinterleave = in.stride != 1 && chain.stages[0].needs_unit_stride != 0;
  const Rounds rounds = plan_rounds(chain, storage, count, deinterleave);
  const std::int32_t waiting = chain.overflow_count;
  if (rounds.samples == 0 || !reserve_overflow(chain, waiting + chain.surplus)) return kNoMemory;
  std::int32_t written = 0;
  for (std::uint32_t channel = 0; channel < chain.channels; ++channel) {
    Outlet outlet(chain, channel, out, room, waiting);
    const std::byte *from = in.next(channel, chain.sample_size);
    for (std::int32_t left = count; left > 0;) {
      const std::int32_t round = std::min(left, rounds.samples);
      run_round(chain, channel, rounds, deinterleave, from, in.stride, round, outlet);
      from += std::ptrdiff_t{round} * in.stride * static_cast<std::ptrdiff_t>(chain.sample_size);
      left -= round;
    }
    written = outlet.written();
  }
  return written;
}

}  // namespace auspool
