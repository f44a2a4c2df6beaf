#if AUSPOOL_IDLE_SLEEP

#include "platform/login/bus.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdint>

namespace auspool::platform::login {
namespace {

constexpr std::uint64_t kMostWait = 500000;  // microseconds

using Message = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

}  // namespace

Bus open_bus() {
  sd_bus *bus = nullptr;
  if (sd_bus_open_system(&bus) < 0) bus = nullptr;
  if (bus) sd_bus_set_method_call_timeout(bus, kMostWait);
  return {bus, sd_bus_flush_close_unref};
}

int take_lease(sd_bus *bus, const char *what, const char *why, const char *mode) {
  sd_bus_message *answer = nullptr;
  const int status = sd_bus_call_method(bus, kService, kPath, kManager, "Inhibit", nullptr, &answer, "ssss", what,
                                        program_invocation_short_name, why, mode);
  const Message owned(answer, sd_bus_message_unref);
  int lease = -1;
  if (status < 0 || sd_bus_message_read(answer, "h", &lease) < 0) return -1;
  return fcntl(lease, F_DUPFD_CLOEXEC, 3);  // the message closes its own
}

}  // namespace auspool::platform::login

#endif
