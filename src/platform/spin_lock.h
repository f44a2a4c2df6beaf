// A small lock for moments of a few instructions. A real-time thread only tries it.
#pragma once

#include <sched.h>

#include <atomic>

namespace auspool::platform {

// A standard Lockable: std::unique_lock lock(spin_lock, std::try_to_lock) works.
class SpinLock {
public:
  // Takes the lock if it is free. Never waits and makes no system call.
  bool try_lock() noexcept { return !taken_.test_and_set(std::memory_order_acquire); }

  // Waits for the lock, yielding the processor between attempts. Not for a real-time thread.
  void lock() noexcept {
    while (!try_lock()) sched_yield();
  }

  void unlock() noexcept { taken_.clear(std::memory_order_release); }

private:
  std::atomic_flag taken_ = ATOMIC_FLAG_INIT;
};

}  // namespace auspool::platform
