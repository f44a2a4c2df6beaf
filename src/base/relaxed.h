// A word that threads share and that publishes nothing else: a flag that is polled, a count that is shown.
#pragma once

#include <atomic>

namespace auspool {

template <typename T>
class Relaxed {
public:
  Relaxed() = default;
  constexpr Relaxed(T value) : value_(value) {}
  Relaxed(const Relaxed &) = delete;
  Relaxed &operator=(const Relaxed &) = delete;

  operator T() const { return value_.load(std::memory_order_relaxed); }
  T operator=(T value) {
    value_.store(value, std::memory_order_relaxed);
    return value;
  }
  T exchange(T value) { return value_.exchange(value, std::memory_order_relaxed); }

  // Becomes `desired` if it still is `expected`; otherwise `expected` becomes what it is.
  bool replace(T &expected, T desired) {
    return value_.compare_exchange_weak(expected, desired, std::memory_order_relaxed);
  }

private:
  static_assert(std::atomic<T>::is_always_lock_free);
  std::atomic<T> value_{};
};

}  // namespace auspool
