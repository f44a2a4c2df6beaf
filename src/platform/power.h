// Tells when the computer is about to sleep, and when it is back.
#pragma once

#include <cstdint>

#include "platform/thread.h"

namespace auspool::platform {

inline constexpr std::uint32_t kIOMessageSystemWillSleep = 0xE0000280;
inline constexpr std::uint32_t kIOMessageSystemWillPowerOn = 0xE0000320;

// Through the signals of the login service, with an inhibitor that makes it wait before the computer sleeps. Where
// there is no such service, or the library was built without AUSPOOL_IDLE_SLEEP, nothing is ever told, nor once the bus
// has gone. Where the service refuses an inhibitor, sleep is told but does not wait; the next waking asks again.
class PowerNotifier {
public:
  // On a thread of the notifier's own. The computer sleeps once allow_power_change() has been called, or when it has
  // waited for some seconds.
  using Callback = void (*)(void *context, std::uint32_t message_type);

  PowerNotifier() = default;
  ~PowerNotifier() { stop(); }
  PowerNotifier(const PowerNotifier &) = delete;
  PowerNotifier &operator=(const PowerNotifier &) = delete;

  // Begins to listen, and returns without waiting for the service. False if there is no thread for it.
  bool start(Callback callback, void *context);

  // Waits for a call in progress, and where the service does not answer for two seconds at most. Nothing if it was not
  // started.
  void stop();

  // From within the callback: as far as we are concerned, the computer may sleep now.
  void allow_power_change();

private:
  static void enter(void *self);
  void listen();

  Callback callback_ = nullptr;
  void *context_ = nullptr;
  int stop_event_ = -1;
  int lease_ = -1;  // the inhibitor, held while the computer is awake; the thread's
  Thread thread_;
};

}  // namespace auspool::platform
