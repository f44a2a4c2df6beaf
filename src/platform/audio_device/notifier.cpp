#include "platform/audio_device/notifier.h"

#include <algorithm>
#include <chrono>
#include <new>

namespace auspool::platform {
namespace {

constexpr std::chrono::hours kIdle(1);

}  // namespace

Notifier::Notifier() {
  if (!thread_.start("audio listeners", 0, enter, this)) throw std::bad_alloc();
}

Notifier::~Notifier() {
  ending_ = true;
  wake_.post();
  thread_.join();
}

void Notifier::post(ObjectId object, const PropertyAddress &address) {
  const Change change = {object, address};
  const std::lock_guard lock(mutex_);
  if (std::ranges::find(changes_, change) == changes_.end()) changes_.push_back(change);
  wake_.post();
}

void Notifier::make_room() {
  const std::lock_guard lock(mutex_);
  changes_.reserve(changes_.size() + 1);
}

bool Notifier::take(Change *change) {
  const std::lock_guard lock(mutex_);
  if (changes_.empty()) return false;
  *change = changes_.front();
  changes_.erase(changes_.begin());
  return true;
}

void Notifier::run() {
  while (!ending_) {
    wake_.wait_for(kIdle);
    for (Change change; !ending_ && take(&change);) listeners.call(change.object, change.address);
  }
}

void Notifier::enter(void *self) {
  static_cast<Notifier *>(self)->run();
}

}  // namespace auspool::platform
