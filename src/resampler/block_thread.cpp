#include "resampler/block_thread.h"

#include <system_error>
#include <utility>

namespace auspool {

BlockThread::BlockThread(std::function<void()> run) : run_(std::move(run)) {
  const auto enter = [](void *self) { static_cast<BlockThread *>(self)->loop(); };
  if (!thread_.start("resampler", 0, enter, this)) {
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  }
}

BlockThread::~BlockThread() {
  {
    const std::lock_guard lock(mutex_);
    quit_ = true;
  }
  condition_.notify_one();
  thread_.join();
}

bool BlockThread::is_done() {
  const std::lock_guard lock(mutex_);
  return done_;
}

void BlockThread::loop() {
  std::unique_lock lock(mutex_);
  done_ = true;
  while (true) {
    // A condition may wake without a signal; a block runs once.
    condition_.wait(lock, [this] { return quit_ || !done_; });
    if (quit_) return;
    run_();
    done_ = true;
  }
}

}  // namespace auspool
