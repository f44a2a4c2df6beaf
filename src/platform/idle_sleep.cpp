#include "platform/idle_sleep.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <memory>

#if AUSPOOL_IDLE_SLEEP
#include <systemd/sd-bus.h>
#endif

namespace auspool::platform {
namespace {

#if AUSPOOL_IDLE_SLEEP

constexpr std::uint64_t kMostWait = 500000;  // microseconds

using Bus = std::unique_ptr<sd_bus, decltype(&sd_bus_flush_close_unref)>;
using Message = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

Bus open_bus() {
  sd_bus *bus = nullptr;
  if (sd_bus_open_system(&bus) < 0) bus = nullptr;
  if (bus) sd_bus_set_method_call_timeout(bus, kMostWait);
  return {bus, sd_bus_flush_close_unref};
}

// https://www.freedesktop.org/wiki/Software/systemd/inhibit/
int take_lease() {
  const Bus bus = open_bus();
  if (!bus) return -1;
  sd_bus_message *answer = nullptr;
  const int status = sd_bus_call_method(bus.get(), "org.freedesktop.login1", "/org/freedesktop/login1",
                                        "org.freedesktop.login1.Manager", "Inhibit", nullptr, &answer, "ssss", "idle",
                                        program_invocation_short_name, "Audio is running", "block");
  const Message owned(answer, sd_bus_message_unref);
  int lease = -1;
  if (status < 0 || sd_bus_message_read(answer, "h", &lease) < 0) return -1;
  return fcntl(lease, F_DUPFD_CLOEXEC, 3);  // the message closes its own
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
