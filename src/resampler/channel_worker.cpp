#include "resampler/channel_worker.h"

#include <new>

namespace auspool {

ChannelWorker::ChannelWorker(const raesampler &chain, std::size_t channel) : chain_(chain), channel_(channel) {
  works_.reserve(static_cast<std::size_t>(chain.stage_count));
  for (std::int32_t i = 0; i < chain.stage_count; ++i) {
    const raesampler_stage &stage = chain.stages[i];
    const bool needed = stage.alloc_workbuffer != nullptr;
    works_.emplace_back(needed ? stage.alloc_workbuffer(stage.states[channel]) : nullptr, stage.free_workbuffer);
    if (needed && !works_.back()) throw std::bad_alloc();
  }
  thread_ = std::thread([this] { channel_thread_run(); });
}

ChannelWorker::~ChannelWorker() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    quit_ = true;
  }
  condition_.notify_one();
  thread_.join();
}

void ChannelWorker::start(const BufferPair &buffers, std::int32_t count, std::int32_t section_threads) {
  {
    const std::lock_guard lock(mutex_);
    buffers_ = buffers;
    count_ = count;
    section_threads_ = section_threads;
    done_ = false;
  }
  condition_.notify_one();
}

bool ChannelWorker::is_done() {
  const std::lock_guard lock(mutex_);
  return done_;
}

void ChannelWorker::channel_thread_run() {
  std::unique_lock lock(mutex_);
  done_ = true;
  while (true) {
    // A condition may wake without a signal; a block runs once.
    condition_.wait(lock, [this] { return quit_ || !done_; });
    if (quit_) return;
    run_stages();
    done_ = true;
  }
}

void ChannelWorker::run_stages() {
  for (std::int32_t i = 0; i < chain_.stage_count; ++i) {
    void *work = works_[static_cast<std::size_t>(i)].get();
    count_ = run_buffered_stage(chain_, i, channel_, work, buffers_, count_, section_threads_);
  }
}

}  // namespace auspool
