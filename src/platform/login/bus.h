// The login service (logind), which knows when the computer sleeps, on the system's bus. For builds with
// AUSPOOL_IDLE_SLEEP.
#pragma once

#include <systemd/sd-bus.h>

#include <memory>

namespace auspool::platform::login {

inline constexpr const char *kService = "org.freedesktop.login1";
inline constexpr const char *kPath = "/org/freedesktop/login1";
inline constexpr const char *kManager = "org.freedesktop.login1.Manager";

using Bus = std::unique_ptr<sd_bus, decltype(&sd_bus_close_unref)>;  // a flush could wait for a greeting

// Null where there is none that greets us. Waits for half a second at most, and so does a call on it.
Bus open_bus();

// Asks for an inhibitor: https://www.freedesktop.org/wiki/Software/systemd/inhibit/
// A file descriptor, which ends the inhibition when it is closed, also by the process's end; or -1.
int take_lease(sd_bus *bus, const char *what, const char *why, const char *mode);

}  // namespace auspool::platform::login
