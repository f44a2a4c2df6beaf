#include "platform/timer.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "platform/clock.h"

namespace auspool::platform {
namespace {

constexpr std::uint64_t kMostBehind = 1000000000;  // ticks
// However long it has to wait, it looks again: the clock may have been replaced.
constexpr std::uint64_t kMostWait = 1000000000;

}  // namespace

bool Timer::install(Task task, void *context) {
  task_ = task;
  context_ = context;
  primed_ = ending_ = false;
  return thread_.start("auspool timer", 0, enter, this);
}

void Timer::prime(double seconds) {
  const std::lock_guard lock(mutex_);
  const std::uint64_t now = clock_ticks();
  if (!running_ || now - due_ > kMostBehind) {
    due_ = now;
    fraction_ = 0.0;
  }
  const double ticks = seconds * 1e9 + fraction_;
  const double whole = std::floor(ticks);
  due_ += static_cast<std::uint64_t>(std::max(whole, 0.0));
  fraction_ = ticks - whole;
  primed_ = true;
  changed_.notify_all();
}

void Timer::remove() {
  std::unique_lock lock(mutex_);
  ending_ = true;
  changed_.notify_all();
  lock.unlock();
  thread_.join();
}

std::uint64_t Timer::due() const {
  const std::lock_guard lock(mutex_);
  return due_;
}

void Timer::enter(void *self) {
  static_cast<Timer *>(self)->run();
}

void Timer::run() {
  for (std::unique_lock lock(mutex_); !ending_;) {
    if (!primed_) {
      changed_.wait(lock);
      continue;
    }
    if (const std::uint64_t now = clock_ticks(); now < due_) {
      changed_.wait_for(lock, std::chrono::nanoseconds(std::min(due_ - now, kMostWait)));
      continue;
    }
    primed_ = false;
    running_ = true;
    lock.unlock();
    task_(context_);
    lock.lock();
    running_ = false;
  }
}

}  // namespace auspool::platform
