#include "platform/audio_device/listeners.h"

#include <algorithm>
#include <new>

namespace auspool::platform {

DeviceStatus Listeners::add(ObjectId object, const PropertyAddress &address, PropertyListener listener,
                            void *client) try {
  Entry entry{object, address, listener, client};
  const std::lock_guard lock(mutex_);
  if (std::ranges::any_of(entries_, [&](const Entry &known) { return known.is_same_as(entry); })) return 0;
  entry.serial = ++last_serial_;
  entries_.push_back(entry);
  return 0;
} catch (const std::bad_alloc &) {
  return AUDEVICE_NO_MEMORY;
}

void Listeners::remove(ObjectId object, const PropertyAddress &address, PropertyListener listener, void *client) {
  const Entry entry{object, address, listener, client};
  std::unique_lock lock(mutex_);
  entries_.remove_if([&](const Entry &known) { return known.is_same_as(entry); });
  ended_.wait(lock, [&] { return !calling_ || caller_ == std::this_thread::get_id() || !called_.is_same_as(entry); });
}

void Listeners::forget(ObjectId object) {
  const std::lock_guard lock(mutex_);
  entries_.remove_if([&](const Entry &known) { return known.object == object; });
}

// By serial number and not by place: listeners come and go while others are called.
bool Listeners::begin_next(ObjectId object, const PropertyAddress &address, std::uint64_t after) {
  const std::lock_guard lock(mutex_);
  const auto next = std::ranges::find_if(entries_, [&](const Entry &entry) {
    return entry.serial > after && entry.object == object && entry.address == address;
  });
  if (next == entries_.end()) return false;
  called_ = *next;
  caller_ = std::this_thread::get_id();
  return calling_ = true;
}

void Listeners::call(ObjectId object, const PropertyAddress &address) {
  for (std::uint64_t last = 0; begin_next(object, address, last);) {
    last = called_.serial;
    called_.listener(object, 1, &called_.address, called_.client);
    const std::lock_guard lock(mutex_);
    calling_ = false;
    ended_.notify_all();
  }
}

}  // namespace auspool::platform
