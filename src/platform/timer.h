// Calls a function at moments that do not drift, on a thread of its own.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "platform/thread.h"

namespace auspool::platform {

class Timer {
public:
  using Task = void (*)(void *context);

  Timer() = default;
  ~Timer() { remove(); }
  Timer(const Timer &) = delete;
  Timer &operator=(const Timer &) = delete;

  // Makes ready to run `task`. False if there is no thread for it. The last task must have been removed.
  bool install(Task task, void *context);

  // Runs the task once, `seconds` from now. From inside the task it is from when this run was due, however late it came
  // and however long it takes, so that a task which primes itself again keeps its pace. One that has fallen behind by
  // more than a second begins anew.
  void prime(double seconds);

  // Waits for a run in progress. Afterwards the task is not run. Not from inside the task. Nothing without a task.
  void remove();

  // When the run in progress, or else the next, is due, in ticks of platform/clock.h.
  std::uint64_t due() const;

private:
  static void enter(void *self);
  void run();

  mutable std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  Task task_ = nullptr;
  void *context_ = nullptr;
  std::uint64_t due_ = 0;
  double fraction_ = 0.0;  // of a tick, that the next run is due later
  bool primed_ = false, running_ = false, ending_ = false;

  Thread thread_;
};

}  // namespace auspool::platform
