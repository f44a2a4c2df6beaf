// A bus of the test's own with a stand-in for the login service, which this process takes for the system's. Both end
// with the scope.
#pragma once

#include <csignal>
#include <optional>
#include <string>

#include "support/sound_server.h"

namespace auspool::testing {

// Skips a test, aloud, where the programs for it are missing.
#define NEED_LOGIN_SERVICE()   \
  NEED_PROGRAM("dbus-daemon"); \
  NEED_PROGRAM("dbus-send");   \
  if (!::auspool::testing::have_dbusmock()) GTEST_SKIP() << "python3-dbusmock is not installed"
bool have_dbusmock();

class LoginService {
public:
  LoginService();
  ~LoginService();

  // Whether all of it runs.
  bool ready() const { return ready_; }

  // How many inhibitors there are of this kind: "idle", "sleep".
  int inhibitors(const std::string &what) const;

  // Tells all who listen that sleep begins, or that it is over.
  void prepare_for_sleep(bool begins) const;

  // Lets the service answer nothing for a while.
  void pause(bool paused) { service_.signal(paused ? SIGSTOP : SIGCONT); }

  // The bus goes, and with it all that was on it.
  void kill_bus() { bus_.end(); }

private:
  std::string call(const std::string &method) const;

  TempDir dir_;
  std::string address_;
  Background bus_, service_;
  bool ready_ = false;
};

// A bus that takes connections and says nothing, for the length of a scope.
class SilentBus {
public:
  SilentBus();
  ~SilentBus();
  SilentBus(const SilentBus &) = delete;
  SilentBus &operator=(const SilentBus &) = delete;

private:
  TempDir dir_;
  const int socket_;
};

// Where there is no bus, for the length of a scope.
class NoBus {
public:
  NoBus();
  ~NoBus();
};

}  // namespace auspool::testing
