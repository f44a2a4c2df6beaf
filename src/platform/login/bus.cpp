#if AUSPOOL_IDLE_SLEEP

#include "platform/login/bus.h"

#include <fcntl.h>

#include <cerrno>
#include <chrono>
#include <cstdint>

namespace auspool::platform::login {
namespace {

constexpr std::chrono::microseconds kMostWait(500000);

using Message = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

// A call would wait for the greeting as long as the library likes, 90 seconds; so we wait for it ourselves.
bool is_greeted_in_time(sd_bus *bus) {
  using std::chrono::steady_clock;
  const auto end = steady_clock::now() + kMostWait;
  while (sd_bus_is_ready(bus) == 0) {
    const auto left = std::chrono::ceil<std::chrono::microseconds>(end - steady_clock::now());
    if (left.count() <= 0) return false;
    const int worked = sd_bus_process(bus, nullptr);
    if (worked < 0 || (worked == 0 && sd_bus_wait(bus, static_cast<std::uint64_t>(left.count())) < 0)) return false;
  }
  return true;
}

}  // namespace

Bus open_bus() {
  sd_bus *opened = nullptr;
  if (sd_bus_open_system(&opened) < 0) opened = nullptr;
  Bus bus(opened, sd_bus_close_unref);
  if (!bus || !is_greeted_in_time(opened)) return {nullptr, sd_bus_close_unref};
  sd_bus_set_method_call_timeout(opened, kMostWait.count());
  return bus;
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
