#include "platform/power.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>

#if AUSPOOL_IDLE_SLEEP
#include "platform/login/bus.h"
#endif

namespace auspool::platform {

#if AUSPOOL_IDLE_SLEEP

namespace {

// What the listener's thread needs to follow the service.
struct Listener {
  PowerNotifier::Callback callback;
  void *context;
  int &lease;

  void take(sd_bus *bus) const {
    if (lease < 0) lease = login::take_lease(bus, "sleep", "Audio is stored for later", "delay");
  }
};

int on_prepare_for_sleep(sd_bus_message *message, void *listener, sd_bus_error *) {
  const Listener &self = *static_cast<Listener *>(listener);
  int begins = 0;
  if (sd_bus_message_read(message, "b", &begins) < 0) return 0;
  self.callback(self.context, begins ? kIOMessageSystemWillSleep : kIOMessageSystemWillPowerOn);
  if (!begins) self.take(sd_bus_message_get_bus(message));
  return 0;
}

// Until there is something to read, or the event is there; false then, and when the bus is gone.
bool wait_for_message(sd_bus *bus, int stop_event) {
  pollfd on[2] = {{sd_bus_get_fd(bus), POLLIN, 0}, {stop_event, POLLIN, 0}};
  if (sd_bus_get_events(bus) & POLLOUT) on[0].events |= POLLOUT;
  const int count = poll(on, 2, -1);
  return count < 0 ? errno == EINTR : on[1].revents == 0;
}

}  // namespace

void PowerNotifier::listen() {
  const login::Bus bus = login::open_bus();
  if (!bus) return;
  Listener listener{callback_, context_, lease_};
  if (sd_bus_match_signal(bus.get(), nullptr, login::kService, login::kPath, login::kManager, "PrepareForSleep",
                          on_prepare_for_sleep, &listener) < 0)
    return;
  listener.take(bus.get());
  for (int done = 1; done >= 0;) {
    done = sd_bus_process(bus.get(), nullptr);
    if (done == 0 && !wait_for_message(bus.get(), stop_event_)) break;
  }
  allow_power_change();
}

#else

void PowerNotifier::listen() {}

#endif

bool PowerNotifier::start(Callback callback, void *context) {
  callback_ = callback;
  context_ = context;
  stop_event_ = eventfd(0, EFD_CLOEXEC);
  if (stop_event_ >= 0 && thread_.start("auspool power", 0, enter, this)) return true;
  stop();
  return false;
}

void PowerNotifier::stop() {
  if (stop_event_ < 0) return;
  eventfd_write(stop_event_, 1);
  thread_.join();
  close(stop_event_);
  stop_event_ = -1;
}

void PowerNotifier::allow_power_change() {
  if (lease_ >= 0) close(lease_);
  lease_ = -1;
}

void PowerNotifier::enter(void *self) {
  static_cast<PowerNotifier *>(self)->listen();
}

}  // namespace auspool::platform
