#include "resampler/single_shot/channel_worker.h"

#include <new>

namespace auspool {
namespace {

using Works = std::vector<std::unique_ptr<void, void (*)(void *)>>;

Works make_works(const raesampler &chain, std::size_t channel) {
  Works works;
  works.reserve(static_cast<std::size_t>(chain.stage_count));
  for (std::int32_t i = 0; i < chain.stage_count; ++i) {
    const raesampler_stage &stage = chain.stages[i];
    const bool needed = stage.alloc_workbuffer != nullptr;
    works.emplace_back(needed ? stage.alloc_workbuffer(stage.states[channel]) : nullptr, stage.free_workbuffer);
    if (needed && !works.back()) throw std::bad_alloc();
  }
  return works;
}

}  // namespace

ChannelWorker::ChannelWorker(const raesampler &chain, std::size_t channel)
    : chain_(chain), channel_(channel), works_(make_works(chain, channel)), thread_([this] { channel_thread_run(); }) {}

void ChannelWorker::start(const BufferPair &buffers, std::int32_t count, std::int32_t section_threads) {
  thread_.start([&] {
    buffers_ = buffers;
    count_ = count;
    section_threads_ = section_threads;
  });
}

void ChannelWorker::channel_thread_run() {
  for (std::int32_t i = 0; i < chain_.stage_count; ++i) {
    void *work = works_[static_cast<std::size_t>(i)].get();
    count_ = run_buffered_stage(chain_, i, channel_, work, buffers_, count_, section_threads_);
  }
}

}  // namespace auspool
