// A thread of raesampler_single_shot that runs one channel through all stages, block by block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "resampler/block_thread.h"
#include "resampler/chain/chain.h"

namespace auspool {

// A channel's two buffers. Each stage reads the first and writes the second, and then they change places.
struct BufferPair {
  std::byte *from;
  std::byte *to;

  void swap() { std::swap(from, to); }
};

// Takes `count` samples in `buffers.from` through one stage; the output lies in `buffers.from` then.
inline std::int32_t run_buffered_stage(const raesampler &chain, std::int32_t stage, std::size_t channel, void *work,
                                       BufferPair &buffers, std::int32_t count, std::int32_t threads) {
  const StageRun how = {static_cast<std::int32_t>(chain.sample_size), chain.windows[stage], threads, channel, work};
  count = run_stage(chain.stages[stage], how, buffers.from, 1, buffers.to, 1, count);
  buffers.swap();
  return count;
}

class ChannelWorker {
public:
  // Starts the thread. Throws when there is no thread or no memory to be had.
  ChannelWorker(const raesampler &chain, std::size_t channel);

  // Has the channel's stages run over the samples in `buffers.from`. The worker must be waiting.
  void start(const BufferPair &buffers, std::int32_t count, std::int32_t section_threads);

  // Whether the worker waits for a block.
  bool is_done() { return thread_.is_done(); }

private:
  void channel_thread_run();

  const raesampler &chain_;
  const std::size_t channel_;
  using Work = std::unique_ptr<void, void (*)(void *)>;
  std::vector<Work> works_;  // one for each stage; null where a stage needs none

  BufferPair buffers_ = {};
  std::int32_t count_ = 0;
  std::int32_t section_threads_ = 1;

  BlockThread thread_;  // the last member: it ends before what it uses
};

}  // namespace auspool
