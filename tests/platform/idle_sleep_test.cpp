#include "platform/idle_sleep.h"

#include <gtest/gtest.h>
#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "auspool/auplayer.h"
#include "support/programs.h"
#include "support/simulated_devices.h"
#include "support/temp_dir.h"

namespace auspool::platform {
namespace {

using auspool::testing::quoted;
using auspool::testing::run;
using auspool::testing::TempDir;

constexpr const char *kBus = "DBUS_SYSTEM_BUS_ADDRESS";

TEST(IdleSleepWithoutABus, IsNotHeldAndNothingHappens) {
  ASSERT_EQ(setenv(kBus, "unix:path=/nowhere/at/all", 1), 0);
  IdleSleepInhibitor inhibitor;
  EXPECT_FALSE(inhibitor.hold());
  EXPECT_FALSE(inhibitor.hold());
  inhibitor.release();
  inhibitor.release();
  unsetenv(kBus);
}

bool have_login_service() {
  return auspool::testing::have_program("dbus-daemon") && auspool::testing::have_program("dbus-send") &&
         run("/usr/bin/python3 -c 'import dbusmock'").status == 0;
}

// A bus of the test's own with a stand-in for the login service.
class IdleSleep : public ::testing::Test {
protected:
  void SetUp() override {
    if (!have_login_service()) GTEST_SKIP() << "dbus-daemon or python3-dbusmock is not installed";
    auspool::testing::write_file(dir.file("bus.conf"),
                                 "<busconfig><type>session</type><listen>unix:path=" + dir.file("bus") +
                                     "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                                     "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                                     "<allow own=\"*\"/></policy></busconfig>");
    address = "unix:path=" + dir.file("bus");
    setenv(kBus, address.c_str(), 1);
    start("dbus-daemon --nofork --nopidfile --config-file=" + quoted(dir.file("bus.conf")));
    ASSERT_TRUE(wait_for("test -S " + quoted(dir.file("bus"))));
    start("/usr/bin/python3 -m dbusmock --system --template logind");
    ASSERT_TRUE(wait_for(call("org.freedesktop.DBus.Peer.Ping")));
    if (!IdleSleepInhibitor().hold()) GTEST_SKIP() << "this build reaches no login service";
    ASSERT_TRUE(wait_for_none());
  }

  void TearDown() override {
    for (const pid_t pid : started) kill(pid, SIGTERM);
    unsetenv(kBus);
  }

  void start(const std::string &command) {
    const std::string output = run("(" + command + " >" + quoted(dir.file("log")) + " 2>&1 & echo $!)").output;
    started.push_back(static_cast<pid_t>(std::stol(output)));
  }

  static bool wait_for(const std::string &command) {
    return run("for i in $(seq 200); do " + command + " >/dev/null 2>&1 && exit 0; sleep 0.05; done; exit 1").status ==
           0;
  }

  std::string call(const std::string &method) const {
    return "dbus-send --bus=" + quoted(address) +
           " --print-reply --reply-timeout=2000 --dest=org.freedesktop.login1 /org/freedesktop/login1 " + method;
  }

  // How many inhibitors of idle sleep there are.
  int inhibitors() const {
    const std::string list = run(call("org.freedesktop.login1.Manager.ListInhibitors")).output;
    int count = 0;
    for (std::size_t at = 0; (at = list.find("\"idle\"", at)) != std::string::npos; ++at) ++count;
    return count;
  }
  // What was let go of a moment ago may show for another.
  bool wait_for_none() const {
    for (int i = 0; i < 100 && inhibitors() != 0; ++i) usleep(20000);
    return inhibitors() == 0;
  }

  TempDir dir;
  std::string address;
  std::vector<pid_t> started;
};

TEST_F(IdleSleep, IsInhibitedWhileHeld) {
  EXPECT_EQ(inhibitors(), 0);
  IdleSleepInhibitor inhibitor;
  EXPECT_TRUE(inhibitor.hold());
  EXPECT_EQ(inhibitors(), 1);
  EXPECT_TRUE(inhibitor.hold());
  EXPECT_EQ(inhibitors(), 1);
  inhibitor.release();
  EXPECT_TRUE(wait_for_none());
  EXPECT_TRUE(inhibitor.hold());
  EXPECT_EQ(inhibitors(), 1);
}

TEST_F(IdleSleep, IsInhibitedWhileAudioRunsUnlessItIsAllowed) {
  auspool::testing::SimulatedDevices devices;
  devices.add_default_output(auspool::testing::output_device(auspool::testing::kInterleaved));
  auplayer2 *const first = auplayer2_create(), *const second = auplayer2_create();
  EXPECT_EQ(inhibitors(), 0);
  auplayer2_start(first);
  auplayer2_start(second);
  EXPECT_EQ(inhibitors(), 1);
  auplayer2_stop(first);
  EXPECT_EQ(inhibitors(), 1);
  auplayer2_begin_allow_idle_sleep();
  EXPECT_TRUE(wait_for_none());
  auplayer2_end_allow_idle_sleep();
  EXPECT_EQ(inhibitors(), 1);
  auplayer2_destroy(second);
  EXPECT_TRUE(wait_for_none());
  auplayer2_destroy(first);
}

}  // namespace
}  // namespace auspool::platform
