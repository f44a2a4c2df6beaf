// A small lock for moments of a few instructions. A real-time thread only tries it.
#pragma once

#include <sched.h>
#include <unistd.h>

#include <atomic>

namespace auspool::platform {

// A standard Lockable, so that std::unique_lock works with std::try_to_lock and std::adopt_lock.
class SpinLock {
public:
  // Takes the lock if it is free. Never waits and makes no system call.
  bool try_lock() noexcept { return !taken_.test_and_set(std::memory_order_acquire); }

  // Waits for the lock, yielding the processor between attempts. Not for a real-time thread.
  void lock() noexcept {
    while (!try_lock()) sched_yield();
  }

  // Waits for the lock in sleeps of so many microseconds. For a thread that would rather be late than busy.
  void lock_in_sleeps(unsigned microseconds) noexcept {
    while (!try_lock()) usleep(microseconds);
  }

  void unlock() noexcept { taken_.clear(std::memory_order_release); }

private:
  std::atomic_flag taken_ = ATOMIC_FLAG_INIT;
};

}  // namespace auspool::platform
