// Keeps the computer awake while procs run, unless sleep is allowed.
#pragma once

#include <algorithm>
#include <mutex>
#include <vector>

#include "platform/audio_device.h"
#include "platform/idle_sleep.h"

namespace auspool::platform {

struct RunningProc {
  const AudioDevices *user;
  ObjectId device;
  IoProcId id;

  bool operator==(const RunningProc &) const = default;
};

// Any call may wait as IdleSleepInhibitor::hold does.
class Wakefulness {
public:
  // Makes a proc known before it is started, so that it can end at any moment; false if it was known. Throws
  // std::bad_alloc.
  bool will_start(const RunningProc &proc) {
    const std::lock_guard lock(mutex_);
    if (std::ranges::find(running_, proc) != running_.end()) return false;
    running_.push_back(proc);
    return true;
  }
  void has_started() {
    const std::lock_guard lock(mutex_);
    settle();
  }
  void has_ended(const RunningProc &proc) {
    have_ended([&](const RunningProc &known) { return known == proc; });
  }
  // All for which it is true.
  template <typename Which>
  void have_ended(const Which &which) {
    const std::lock_guard lock(mutex_);
    std::erase_if(running_, which);
    settle();
  }
  void set_allowed(std::uint32_t allowed) {
    const std::lock_guard lock(mutex_);
    allowed_ = allowed;
    settle();
  }
  std::uint32_t allowed() {
    const std::lock_guard lock(mutex_);
    return allowed_;
  }

private:
  void settle() {
    if (!running_.empty() && allowed_ == 0) {
      inhibitor_.hold();
    } else {
      inhibitor_.release();
    }
  }

  std::mutex mutex_;
  std::vector<RunningProc> running_;
  std::uint32_t allowed_ = 0;
  IdleSleepInhibitor inhibitor_;
};

}  // namespace auspool::platform
