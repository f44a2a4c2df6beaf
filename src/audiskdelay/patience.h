// Waiting for a spin lock on a thread that may have priority over the one it waits for: in sleeps, for yielding would
// never let that one go on.
#pragma once

#include <mutex>

#include "platform/spin_lock.h"

namespace auspool::audiskdelay {

inline std::unique_lock<platform::SpinLock> lock_patiently(platform::SpinLock &lock) {
  constexpr unsigned kMicroseconds = 20;
  lock.lock_in_sleeps(kMicroseconds);
  return {lock, std::adopt_lock};
}

}  // namespace auspool::audiskdelay
