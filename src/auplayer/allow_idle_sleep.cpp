#include "auplayer/allow_idle_sleep.h"

#include "platform/audio_device.h"

namespace auspool {

void AllowIdleSleep::begin() {
  const std::lock_guard hold(mutex_);
  if (allowIdleSleep++ == 0) platform::set_sleep_allowed(1);
}

void AllowIdleSleep::end() {
  const std::lock_guard hold(mutex_);
  if (allowIdleSleep != 0 && --allowIdleSleep == 0) platform::set_sleep_allowed(0);
}

}  // namespace auspool
