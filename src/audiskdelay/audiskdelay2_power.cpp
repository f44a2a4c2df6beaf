// Sleep is a gap in the store: time that went by without audio.
#include <algorithm>

#include "audiskdelay/audiskdelay2_record.h"
#include "auspool/auclock.h"
#include "platform/clock.h"

namespace auspool::audiskdelay {
namespace {

void enter_gap(audiskdelay2 &delay, std::uint64_t frames) {
  constexpr std::uint64_t kMost = 0x7FFFFFFF;  // the store counts 32 bits
  for (std::uint64_t chunk; frames > 0; frames -= chunk) {
    chunk = std::min(frames, kMost);
    BTAudioBufferWrite(delay.store.get(), nullptr, 0, chunk, false);
  }
}

void fall_asleep(audiskdelay2 &delay) {
  const std::lock_guard lock(delay.lock);
  delay.sleep_time = platform::time_of_day();
}

// The microseconds go through the conversion of clock ticks, which leaves them as they are where a tick is a
// nanosecond.
void wake_up(audiskdelay2 &delay) {
  const std::lock_guard lock(delay.lock);
  if (delay.sleep_time == 0) return;
  const std::uint64_t now = platform::time_of_day();
  if (now > delay.sleep_time) {
    const std::uint64_t ticks = now - delay.sleep_time;
    const double seconds = static_cast<double>(autimebase_abstime_to_nanoseconds(autimebase_get_shared(), ticks)) / 1e6;
    enter_gap(delay, static_cast<std::uint64_t>(static_cast<double>(delay.rate) * seconds));
  }
  delay.sleep_time = 0;
}

}  // namespace

void power_callback(void *context, std::uint32_t message_type) {
  auto &delay = *static_cast<audiskdelay2 *>(context);
  if (message_type == platform::kIOMessageSystemWillSleep) {
    fall_asleep(delay);
    delay.notifier.allow_power_change();
  }
  if (message_type == platform::kIOMessageSystemWillPowerOn) wake_up(delay);
}

}  // namespace auspool::audiskdelay
