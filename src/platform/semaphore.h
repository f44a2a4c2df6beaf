// Wakes a thread that waits for work.
#pragma once

#include <chrono>
#include <semaphore>

namespace auspool::platform {

class Semaphore {
public:
  // Wakes the waiting thread, or lets its next wait return at once. Never blocks, and enters the kernel only when a
  // thread waits: safe on a real-time thread.
  void post() noexcept { posts_.release(); }

  // Waits for a post, at most for `span`. Returns whether one came; posts that piled up count as one.
  bool wait_for(std::chrono::nanoseconds span) noexcept {
    if (!posts_.try_acquire_for(span)) return false;
    while (posts_.try_acquire()) {
    }
    return true;
  }

private:
  // A binary semaphore would not do: a post may find the last one not yet taken.
  std::counting_semaphore<> posts_{0};
};

}  // namespace auspool::platform
