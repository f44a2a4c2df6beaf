#include "support/login_service.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>

#include "support/other_programs.h"

namespace auspool::testing {
namespace {

constexpr const char *kAddress = "DBUS_SYSTEM_BUS_ADDRESS";

}  // namespace

bool have_dbusmock() {
  return run(quoted(kPython) + " -c 'import dbusmock'").status == 0;
}

LoginService::LoginService() : address_("unix:path=" + dir_.file("bus")) {
  write_file(dir_.file("bus.conf"), "<busconfig><type>session</type><listen>" + address_ +
                                        "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                                        "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                                        "<allow own=\"*\"/></policy></busconfig>");
  setenv(kAddress, address_.c_str(), 1);
  bus_.start({"dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + dir_.file("bus.conf")}, dir_.file("log"));
  if (!eventually([this] { return std::filesystem::exists(dir_.file("bus")); })) return;
  service_.start({kPython, "-m", "dbusmock", "--system", "--template", "logind"}, dir_.file("service.log"));
  ready_ = eventually([this] { return run(call("org.freedesktop.DBus.Peer.Ping")).status == 0; });
}

LoginService::~LoginService() {
  unsetenv(kAddress);
}

std::string LoginService::call(const std::string &method) const {
  return "dbus-send --bus=" + quoted(address_) +
         " --print-reply --reply-timeout=2000 --dest=org.freedesktop.login1 /org/freedesktop/login1 " + method;
}

int LoginService::inhibitors(const std::string &what) const {
  const std::string list = run(call("org.freedesktop.login1.Manager.ListInhibitors")).output;
  int count = 0;
  for (std::size_t at = 0; (at = list.find('"' + what + '"', at)) != std::string::npos; ++at) ++count;
  return count;
}

void LoginService::prepare_for_sleep(bool begins) const {
  const std::string script = R"(
import dbus, dbus.bus, sys
bus = dbus.bus.BusConnection(sys.argv[1])
service = bus.get_object("org.freedesktop.login1", "/org/freedesktop/login1")
service.EmitSignal("org.freedesktop.login1.Manager", "PrepareForSleep", "b", [sys.argv[2] == "begins"],
                   dbus_interface="org.freedesktop.DBus.Mock")
)";
  (void)output_of(quoted(kPython) + " -c " + quoted(script) + " " + quoted(address_) + (begins ? " begins" : " ends"));
}

SilentBus::SilentBus() : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const std::string path = dir_.file("bus");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  EXPECT_EQ(bind(socket_, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
  EXPECT_EQ(listen(socket_, 8), 0);
  setenv(kAddress, ("unix:path=" + path).c_str(), 1);
}
SilentBus::~SilentBus() {
  unsetenv(kAddress);
  close(socket_);
}

NoBus::NoBus() {
  setenv(kAddress, "unix:path=/nowhere/at/all", 1);
}
NoBus::~NoBus() {
  unsetenv(kAddress);
}

}  // namespace auspool::testing
