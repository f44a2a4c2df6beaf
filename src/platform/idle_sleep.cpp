#include "platform/idle_sleep.h"

#include <unistd.h>

#if AUSPOOL_IDLE_SLEEP
#include "platform/login/bus.h"
#endif

namespace auspool::platform {
namespace {

#if AUSPOOL_IDLE_SLEEP

int take_lease() {
  const login::Bus bus = login::open_bus();
  return bus ? login::take_lease(bus.get(), "idle", "Audio is running", "block") : -1;
}

#else

int take_lease() {
  return -1;
}

#endif

}  // namespace

bool IdleSleepInhibitor::hold() {
  if (!asked_) lease_ = take_lease();
  asked_ = true;
  return lease_ >= 0;
}

void IdleSleepInhibitor::release() {
  if (lease_ >= 0) close(lease_);
  lease_ = -1;
  asked_ = false;
}

}  // namespace auspool::platform
