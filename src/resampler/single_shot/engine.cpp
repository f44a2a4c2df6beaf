#include "resampler/single_shot/engine.h"

#include "platform/clock.h"

namespace auspool {
namespace {

using Workers = std::vector<std::unique_ptr<ChannelWorker>>;

void channel_thread_wait_all(const Workers &workers) {
  for (const auto &worker : workers) wait_until_done(*worker);
}

// All workers that the threads are enough for, or none where one of them cannot be had.
Workers start_workers(const raesampler &chain, std::int32_t threads) try {
  Workers workers;
  if (threads < static_cast<std::int32_t>(chain.channels)) return workers;
  for (std::size_t channel = 1; channel < chain.channels; ++channel) {
    workers.push_back(std::make_unique<ChannelWorker>(chain, channel));
  }
  channel_thread_wait_all(workers);
  return workers;
} catch (...) {
  return {};
}

double microseconds_since(std::uint64_t start) {
  const platform::ClockRatio ratio = platform::clock_ratio();
  const auto ticks = static_cast<double>(platform::clock_ticks() - start);
  return ticks * ratio.numer / ratio.denom / 1e3;
}

}  // namespace

Engine::Engine(const raesampler &chain, ChannelBuffers &buffers, std::int32_t threads)
    : chain_(chain),
      buffers_(buffers),
      section_threads_(std::max(1, threads / static_cast<std::int32_t>(chain.channels))),
      workers_(start_workers(chain, threads)),
      tuning_(section_threads_ > 1 || !workers_.empty()) {}

std::int32_t Engine::run(std::int32_t count) {
  const bool parallel = tuning_.begin_block(count);
  const std::uint64_t start = platform::clock_ticks();
  const std::int32_t made = parallel ? run_parallel(count) : run_sequential(count);
  tuning_.end_block(made, microseconds_since(start));
  return made;
}

std::int32_t Engine::run_sequential(std::int32_t count) {
  for (std::int32_t i = 0; i < chain_.stage_count; ++i) {
    std::int32_t made = 0;
    for (std::size_t channel = 0; channel < chain_.channels; ++channel) {
      made = run_buffered_stage(chain_, i, channel, chain_.stages[i].work, buffers_[channel], count, 1);
    }
    count = made;
  }
  return count;
}

// Without workers the sections of a stage are what runs side by side, and the channels follow one another.
std::int32_t Engine::run_parallel(std::int32_t count) {
  for (std::size_t i = 0; i < workers_.size(); ++i) workers_[i]->start(buffers_[i + 1], count, section_threads_);
  const std::size_t own_channels = workers_.empty() ? chain_.channels : 1;
  std::int32_t made = 0;
  for (std::size_t channel = 0; channel < own_channels; ++channel) {
    made = count;
    for (std::int32_t i = 0; i < chain_.stage_count; ++i) {
      made = run_buffered_stage(chain_, i, channel, chain_.stages[i].work, buffers_[channel], made, section_threads_);
    }
  }
  channel_thread_wait_all(workers_);
  // The workers turned copies of their pairs.
  const bool turned = chain_.stage_count % 2 != 0;
  for (std::size_t channel = own_channels; turned && channel < chain_.channels; ++channel) buffers_[channel].swap();
  return made;
}

}  // namespace auspool
