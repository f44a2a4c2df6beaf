// Keeps the computer from falling asleep because nobody touches it.
#pragma once

namespace auspool::platform {

// Through an inhibitor of the login service. Where there is no such service, or the library was built without
// AUSPOOL_IDLE_SLEEP, it does nothing, quietly.
class IdleSleepInhibitor {
public:
  IdleSleepInhibitor() = default;
  ~IdleSleepInhibitor() { release(); }
  IdleSleepInhibitor(const IdleSleepInhibitor &) = delete;
  IdleSleepInhibitor &operator=(const IdleSleepInhibitor &) = delete;

  // Asks for it, unless it is held. May wait for the bus and then for the service, half a second each at most; one that
  // does not answer is not asked again before the next release. Returns whether it is held.
  bool hold();
  void release();

private:
  int lease_ = -1;  // a file descriptor: the service ends the inhibition when it is closed, also by the process's end
  bool asked_ = false;
};

}  // namespace auspool::platform
