// A thread that waits for blocks of work and runs them one at a time.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "platform/thread.h"

namespace auspool {

class BlockThread {
public:
  // Starts the thread, which calls `run` for each block. Throws when there is no thread or no memory to be had.
  explicit BlockThread(std::function<void()> run);
  ~BlockThread();
  BlockThread(const BlockThread &) = delete;
  BlockThread &operator=(const BlockThread &) = delete;

  // Lets `fill` hand over a block, and has it run. The thread must be waiting.
  template <typename Fill>
  void start(Fill fill) {
    {
      const std::lock_guard lock(mutex_);
      fill();
      done_ = false;
    }
    condition_.notify_one();
  }

  // Whether the thread waits for a block. What `run` wrote may be read then.
  bool is_done();

private:
  void loop();

  const std::function<void()> run_;
  std::mutex mutex_;  // held while a block runs
  std::condition_variable condition_;
  bool quit_ = false;
  bool done_ = false;
  platform::Thread thread_;
};

// Polls without sleeping: blocks are short, and waking up would cost more.
template <typename Worker>
void wait_until_done(Worker &worker) {
  while (!worker.is_done()) std::this_thread::yield();
}

}  // namespace auspool
