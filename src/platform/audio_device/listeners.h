// Who listens to which property, and the calls to them. Every backend needs one.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <list>
#include <mutex>
#include <thread>

#include "platform/audio_device.h"

namespace auspool::platform {

class Listeners {
public:
  // The same four twice are one. AUDEVICE_NO_MEMORY or 0.
  DeviceStatus add(ObjectId object, const PropertyAddress &address, PropertyListener listener, void *client);

  // Waits while that listener runs on another thread, whether or not it is still known.
  void remove(ObjectId object, const PropertyAddress &address, PropertyListener listener, void *client);

  // Forgets all of an object's, without waiting.
  void forget(ObjectId object);

  // Calls all that listen to this. One thread at a time calls, and holds no lock that a listener may want.
  void call(ObjectId object, const PropertyAddress &address);

private:
  struct Entry {
    ObjectId object;
    PropertyAddress address;
    PropertyListener listener;
    void *client;
    std::uint64_t serial = 0;

    bool is_same_as(const Entry &other) const {
      return object == other.object && address == other.address && listener == other.listener && client == other.client;
    }
  };

  bool begin_next(ObjectId object, const PropertyAddress &address, std::uint64_t after);

  std::mutex mutex_;  // guards what follows
  std::condition_variable ended_;
  std::list<Entry> entries_;  // in the order in which they came
  std::uint64_t last_serial_ = 0;
  bool calling_ = false;
  Entry called_{};  // the one that runs, and where
  std::thread::id caller_;
};

}  // namespace auspool::platform
