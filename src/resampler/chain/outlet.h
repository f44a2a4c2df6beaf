// The end of a chain: the last stage's output goes to the host as far as there is room, and what is more behind that
// waits in the chain's overflow.
#pragma once

#include <cstddef>
#include <cstdint>

#include "resampler/chain/chain.h"

namespace auspool {

// One channel's end during one push.
class Outlet {
public:
  // `waiting` samples are in the overflow already.
  Outlet(raesampler &chain, std::size_t channel, const OutputChannels &out, std::int32_t room, std::int32_t waiting)
      : chain_(chain),
        last_(chain.stages[chain.stage_count - 1]),
        channel_(channel),
        out_(out.next(channel, chain.sample_size)),
        out_stride_(out.stride),
        room_(room),
        waiting_(waiting) {}

  // Runs the last stage over its input.
  void take(const std::byte *in, std::int32_t in_stride, std::int32_t count);

  std::int32_t written() const { return written_; }

private:
  std::int32_t outputs_of(std::int32_t count) const;
  std::int32_t fitting(std::int32_t count) const;
  std::int32_t run(const std::byte *in, std::int32_t in_stride, void *out, std::int32_t out_stride, std::int32_t count);
  void spill(const std::byte *in, std::int32_t in_stride, std::int32_t count);
  std::byte *next_out() const;

  raesampler &chain_;
  const raesampler_stage &last_;
  const std::size_t channel_;
  std::byte *const out_;
  const std::int32_t out_stride_;
  const std::int32_t room_;
  std::int32_t written_ = 0;
  std::int32_t waiting_;
};

}  // namespace auspool
