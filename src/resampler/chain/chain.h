// The chain of stages behind a raesampler, and what its parts share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "auspool/raesampler_stages.h"
#include "resampler/memory.h"
#include "resampler/stages/stage.h"

struct raesampler {
  std::uint32_t sample_size = 4;  // bytes of a sample inside the chain
  std::uint32_t channels = 0;
  std::int32_t stage_count = 0;            // 0: the chain only copies
  std::int32_t overflow_capacity = 0;      // samples for each channel in `overflow`
  std::int32_t overflow_count = 0;         // samples for each channel that wait in `overflow`
  std::int32_t block_output_capacity = 0;  // samples for each channel in `block_output`
  std::int32_t scratch_capacity = 0;       // bytes
  std::uint32_t drift_enabled = 0;
  raesampler_stage stages[RAESAMPLER_MAX_STAGES] = {};
  auspool::Block<std::byte> overflow;
  auspool::Block<double> block_input;                // with 8-byte samples: blocks of raesampler_resample, widened
  auspool::Block<double> block_output;               // and before they are narrowed
  auspool::Block<std::byte> scratch;                 // for a sample that grows beyond the buffers on the stack
  std::int32_t windows[RAESAMPLER_MAX_STAGES] = {};  // stage_window of each stage
  bool ends_complex = false;                         // the last stage takes complex runs, which must reach it whole
  std::int32_t surplus = 0;  // samples that one push may give beyond what was foreseen (stage_bound)

  raesampler() = default;
  ~raesampler();
  raesampler(const raesampler &) = delete;
  raesampler &operator=(const raesampler &) = delete;
};

namespace auspool {

inline constexpr std::int32_t kMostChannels = 1024;
inline constexpr std::int32_t kBlock = 1024;  // samples of a block of raesampler_resample with 8-byte samples
inline constexpr double kLeastDrift = 0.5, kMostDrift = 1.5;
inline constexpr std::int32_t kNoMemory = -1;  // a push that did nothing

// The channels of an input or an output, and how far into them a call has come.
template <typename Pointer>
struct Channels {
  const Pointer *pointers;
  std::int32_t stride;
  std::int64_t done = 0;

  // The next sample of a channel.
  auto next(std::size_t channel, std::size_t sample_size) const {
    using Byte = std::conditional_t<std::is_const_v<std::remove_pointer_t<Pointer>>, const std::byte, std::byte>;
    return static_cast<Byte *>(pointers[channel]) + done * stride * static_cast<std::ptrdiff_t>(sample_size);
  }
};
using InputChannels = Channels<const void *>;
using OutputChannels = Channels<void *>;

// Whether a chain may lead from one rate to the other: both above 0, and neither above 256 times the other.
bool is_rate_pair(double input_rate, double output_rate);

// How the stages of a chain are built.
struct ChainPlan {
  std::int32_t flags;
  std::int32_t threads;  // of stages by fast convolution
  bool low_latency;
  std::int32_t latency_microseconds;  // the partitions of these stages where low latency is asked for
  double input_rate;
};
// Builds the stages of an empty chain whose sample size and channels are set. False when one could not be built.
bool build_stages(raesampler &chain, const resampler_structure &structure, const ChainPlan &plan);

// An upper bound of what the stages from `first` to before `last` make of `count` samples, in any state.
std::int32_t chain_bound(const raesampler &chain, std::int32_t first, std::int32_t last, std::int32_t count);

// A run of stage `stage` on one channel of the chain.
std::int32_t run_chain_stage(const raesampler &chain, std::int32_t stage, std::size_t channel, const void *in,
                             std::int32_t in_stride, void *out, std::int32_t out_stride, std::int32_t count);

// Makes room for `samples` of each channel in `overflow`, keeping what waits there. False, with all as it was, when
// memory runs out.
bool reserve_overflow(raesampler &chain, std::int32_t samples);

// Makes room for what raesampler_resample gives for a block. False when memory runs out.
bool reserve_block_output(raesampler &chain, std::int32_t samples);

// Runs all stages over `count` input samples. If nothing waits in `overflow`, up to `room` samples of output go to
// `out`; the rest goes behind what waits there. Returns the samples written to `out`, or kNoMemory.
std::int32_t resampler_resample_push(raesampler &chain, const InputChannels &in, const OutputChannels &out,
                                     std::int32_t room, std::int32_t count);

// How much may be written. With `leaves_input` no more input is consumed than that takes; without, all of it is, and
// output beyond the room waits in `overflow`.
struct Limit {
  bool leaves_input;
  std::int32_t room;
};

// What raesampler_resample and raesampler_resampleD share: samples are of the chain's size.
std::int32_t resampler_resample_internal(raesampler &chain, InputChannels in, OutputChannels out,
                                         std::int32_t *input_count, Limit limit);

}  // namespace auspool
