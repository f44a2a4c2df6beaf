// Tells listeners of changes, on a thread of its own that holds no lock meanwhile.
#pragma once

#include <atomic>
#include <mutex>
#include <vector>

#include "platform/audio_device/listeners.h"
#include "platform/semaphore.h"
#include "platform/thread.h"

namespace auspool::platform {

class Notifier {
public:
  Notifier();  // throws std::bad_alloc
  ~Notifier();

  // From any thread, with any lock held. What is posted again before its listeners are called is one change. Throws
  // std::bad_alloc, but not as the first to post after make_room, which throws it instead.
  void make_room();
  void post(ObjectId object, const PropertyAddress &address);

  Listeners listeners;

private:
  struct Change {
    ObjectId object;
    PropertyAddress address;

    bool operator==(const Change &) const = default;
  };

  static void enter(void *self);
  void run();
  bool take(Change *change);

  std::mutex mutex_;  // guards changes_
  std::vector<Change> changes_;
  Semaphore wake_;
  std::atomic<bool> ending_ = false;
  Thread thread_;
};

}  // namespace auspool::platform
