// A thread whose creation can fail without an exception, and whose stack has a stated size.
#pragma once

#include <pthread.h>

#include <cstddef>

namespace auspool::platform {

class Thread {
public:
  Thread() = default;
  Thread(const Thread &) = delete;
  Thread &operator=(const Thread &) = delete;
  ~Thread() { join(); }

  // Runs `run(argument)` on a new thread. `name` shows in debuggers, up to 15 characters; a stack of at least
  // `stack_bytes` is provided, or the system's default if that is larger. All signals are blocked on it: a host's
  // handlers run on the host's threads, and no call of ours is cut short by one. Returns whether it runs. The last
  // thread must have been joined.
  bool start(const char *name, std::size_t stack_bytes, void (*run)(void *), void *argument);

  // Waits for the thread's end. Nothing if none was started.
  void join();

  bool joinable() const { return started_; }

private:
  static void *enter(void *self);

  pthread_t thread_{};
  bool started_ = false;
  void (*run_)(void *) = nullptr;
  void *argument_ = nullptr;
};

// Asks that the calling thread run before all ordinary ones as soon as it has something to do, as one that is to keep a
// pace of a thousandth of a second. False where the system does not allow it: then it runs as before.
bool prefer_this_thread();

// Runs `run(argument)` on such a thread that nobody waits for. `name` must live on. 0, or an errno value.
int start_detached(const char *name, void (*run)(void *), void *argument);

}  // namespace auspool::platform
