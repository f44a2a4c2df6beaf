#include <array>
#include <cstring>

#include "platform/vector.h"
#include "resampler/chain/chain.h"
#include "resampler/delay_line.h"
#include "resampler/whole_numbers.h"

namespace auspool {
namespace {

// Hands out what waits in the overflow, at most `room` samples.
std::int32_t hand_out_overflow(raesampler &chain, const OutputChannels &out, std::int32_t room) {
  const std::int32_t taken = std::min(chain.overflow_count, room);
  if (taken < 1) return 0;
  const std::size_t size = chain.sample_size;
  const std::size_t kept = static_cast<std::size_t>(chain.overflow_count - taken) * size;
  for (std::size_t channel = 0; channel < chain.channels; ++channel) {
    std::byte *waiting = chain.overflow.get() + channel * static_cast<std::size_t>(chain.overflow_capacity) * size;
    copy_samples(static_cast<std::int32_t>(size), waiting, 1, out.next(channel, size), out.stride, taken);
    std::memmove(waiting, waiting + static_cast<std::size_t>(taken) * size, kept);
  }
  chain.overflow_count -= taken;
  return taken;
}

// The most input samples, up to `most`, whose output stays within `room`; 0 where the first one exceeds it.
std::int32_t fitting_input(const raesampler &chain, std::int32_t most, std::int32_t room) {
  return largest_fitting(most, [&](std::int32_t count) { return raesampler_output_samples(&chain, count) <= room; });
}

// A run with a limit on the output.
class LimitedRun {
public:
  LimitedRun(raesampler &chain, const InputChannels &in, const OutputChannels &out, std::int32_t remaining,
             std::int32_t room)
      : chain_(chain), in_(in), out_(out), remaining_(remaining), room_(room) {}

  void run() {
    while (true) {
      wrote(hand_out_overflow(chain_, out_, room_));
      if (remaining_ == 0 || room_ == 0) return;
      // Input beyond what the room asks for stays with the host.
      remaining_ = std::min(remaining_, raesampler_input_samples(&chain_, room_));
      const std::int32_t fitting = fitting_input(chain_, remaining_, room_);
      if (!push(fitting, room_)) return;
      if (remaining_ > 0 && room_ > 0 && !push_across_the_limit()) return;
    }
  }

  std::int32_t consumed() const { return static_cast<std::int32_t>(in_.done); }
  std::int32_t written() const { return static_cast<std::int32_t>(out_.done); }

private:
  // The next input samples give more than there is room for: all of it goes to the overflow first.
  bool push_across_the_limit() {
    const std::int32_t last = std::min(raesampler_input_samples(&chain_, room_), remaining_);
    const std::int64_t needed = std::int64_t{raesampler_output_samples(&chain_, last)} + chain_.surplus;
    if (!reserve_overflow(chain_, to_count(needed)) || !push(last, 0)) return false;
    remaining_ = 0;
    return true;
  }

  bool push(std::int32_t count, std::int32_t room) {
    const std::int32_t written = resampler_resample_push(chain_, in_, out_, room, count);
    if (written == kNoMemory) return false;
    wrote(written);
    in_.done += count;
    remaining_ -= count;
    return true;
  }

  void wrote(std::int32_t count) {
    out_.done += count;
    room_ -= count;
  }

  raesampler &chain_;
  InputChannels in_;
  OutputChannels out_;
  std::int32_t remaining_;
  std::int32_t room_;
};

}  // namespace

std::int32_t resampler_resample_internal(raesampler &chain, InputChannels in, OutputChannels out,
                                         std::int32_t *input_count, Limit limit) {
  const std::int32_t count = *input_count;
  if (limit.leaves_input) {
    LimitedRun run(chain, in, out, count, limit.room);
    run.run();
    *input_count = run.consumed();
    return run.written();
  }
  const std::int32_t waiting = hand_out_overflow(chain, out, limit.room);
  out.done += waiting;
  const std::int32_t written = resampler_resample_push(chain, in, out, limit.room - waiting, count);
  if (written != kNoMemory) return waiting + written;
  *input_count = 0;
  return waiting;
}

namespace {

// Without stages: as many samples as the limit lets through.
std::int32_t copy_channels(const raesampler &chain, std::int32_t sample_size, const InputChannels &in,
                           const OutputChannels &out, std::int32_t *input_count, std::int32_t max_output) {
  if (max_output != 0) *input_count = std::min(*input_count, max_output);
  for (std::size_t channel = 0; channel < chain.channels; ++channel) {
    copy_samples(sample_size, in.pointers[channel], in.stride, out.pointers[channel], out.stride, *input_count);
  }
  return *input_count;
}

// Floats through a chain of doubles, in blocks that are widened before and narrowed behind.
class WidenedRun {
public:
  WidenedRun(raesampler &chain, const InputChannels &in, const OutputChannels &out)
      : chain_(chain), in_(in), out_(out) {}

  void run(std::int32_t left, Limit limit) {
    while (true) {
      std::int32_t used = std::min(left, kBlock);
      const std::int32_t made = run_block(&used, limit);
      in_.done += used;
      out_.done += made;
      left -= used;
      limit.room -= made;
      if (limit.leaves_input && limit.room == 0) return;
      if (made == 0 && (left == 0 || used == 0)) return;
    }
  }

  std::int32_t consumed() const { return static_cast<std::int32_t>(in_.done); }
  std::int32_t written() const { return static_cast<std::int32_t>(out_.done); }

private:
  std::int32_t run_block(std::int32_t *count, const Limit &limit) {
    const std::int64_t most = std::int64_t{raesampler_output_samples(&chain_, *count)} + chain_.surplus;
    if (!reserve_block_output(chain_, to_count(most))) {
      *count = 0;
      return 0;
    }
    widen(*count);
    std::array<const void *, kMostChannels> from;
    std::array<void *, kMostChannels> to;
    for (std::size_t channel = 0; channel < chain_.channels; ++channel) {
      from[channel] = block_input(channel);
      to[channel] = block_output(channel);
    }
    const std::int32_t made = resampler_resample_internal(chain_, {from.data(), 1}, {to.data(), 1}, count, limit);
    narrow(made);
    return made;
  }

  void widen(std::int32_t count) {
    for (std::size_t channel = 0; channel < chain_.channels; ++channel) {
      const auto *from = reinterpret_cast<const float *>(in_.next(channel, sizeof(float)));
      vector::widen(from, in_.stride, block_input(channel), 1, static_cast<std::size_t>(count));
    }
  }

  void narrow(std::int32_t count) {
    for (std::size_t channel = 0; channel < chain_.channels; ++channel) {
      auto *to = reinterpret_cast<float *>(out_.next(channel, sizeof(float)));
      vector::narrow(block_output(channel), 1, to, out_.stride, static_cast<std::size_t>(count));
    }
  }

  double *block_input(std::size_t channel) { return chain_.block_input.get() + channel * kBlock; }
  double *block_output(std::size_t channel) {
    return chain_.block_output.get() + channel * static_cast<std::size_t>(chain_.block_output_capacity);
  }

  raesampler &chain_;
  InputChannels in_;
  OutputChannels out_;
};

// The host's pointers, as those of any sample size.
template <typename Pointer, typename Typed>
std::array<Pointer, kMostChannels> untyped(const raesampler &chain, Typed *const *channels) {
  std::array<Pointer, kMostChannels> pointers;
  std::copy_n(channels, chain.channels, pointers.begin());
  return pointers;
}

template <typename Sample>
std::int32_t resample(raesampler &chain, const Sample *const *in, std::int32_t in_stride, Sample *const *out,
                      std::int32_t out_stride, std::int32_t *input_count, std::int32_t max_output) {
  *input_count = max_output < 0 ? 0 : std::max(*input_count, 0);
  if (max_output < 0) return 0;
  const auto from = untyped<const void *>(chain, in);
  const auto to = untyped<void *>(chain, out);
  const InputChannels input = {from.data(), in_stride};
  const OutputChannels output = {to.data(), out_stride};
  if (chain.stage_count == 0) return copy_channels(chain, sizeof(Sample), input, output, input_count, max_output);
  // Without a limit all input is consumed, and the room is what the counts promise.
  const Limit limit = {max_output != 0, max_output != 0 ? max_output : raesampler_output_samples(&chain, *input_count)};
  if (chain.sample_size == sizeof(Sample)) {
    return resampler_resample_internal(chain, input, output, input_count, limit);
  }
  WidenedRun run(chain, input, output);
  run.run(*input_count, limit);
  *input_count = run.consumed();
  return run.written();
}

}  // namespace
}  // namespace auspool

std::int32_t raesampler_resample(raesampler *r, const float *const *in, std::int32_t in_stride, float *const *out,
                                 std::int32_t out_stride, std::int32_t *input_count, std::int32_t max_output) {
  return auspool::resample(*r, in, in_stride, out, out_stride, input_count, max_output);
}

std::int32_t raesampler_resampleD(raesampler *r, const double *const *in, std::int32_t in_stride, double *const *out,
                                  std::int32_t out_stride, std::int32_t *input_count, std::int32_t max_output) {
  if (r->sample_size != sizeof(double)) {
    *input_count = 0;
    return 0;
  }
  return auspool::resample(*r, in, in_stride, out, out_stride, input_count, max_output);
}
