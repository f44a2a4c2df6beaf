// Runs the blocks of raesampler_single_shot through a chain, the channels one after the other or side by side.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "resampler/single_shot/buffers.h"
#include "resampler/single_shot/channel_worker.h"
#include "resampler/single_shot/parallel_tuning.h"

namespace auspool {

class Engine {
public:
  Engine(const raesampler &chain, ChannelBuffers &buffers, std::int32_t threads);

  // Takes `count` samples in each channel's `from`; the output lies there afterwards. Returns its samples.
  std::int32_t run(std::int32_t count);

private:
  std::int32_t run_sequential(std::int32_t count);
  std::int32_t run_parallel(std::int32_t count);

  const raesampler &chain_;
  ChannelBuffers &buffers_;
  const std::int32_t section_threads_;                         // for each channel, in stages that can use them
  const std::vector<std::unique_ptr<ChannelWorker>> workers_;  // for each channel but the first, or none
  ParallelTuning tuning_;
};

}  // namespace auspool
