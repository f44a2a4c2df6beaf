// What a player does when the default device or its device's rate changes: on the listener thread, and the look at the
// rate also at a start.
#include "auplayer/player.h"

namespace auspool {

using platform::DeviceStatus;
using platform::ObjectId;

void Player::read_device_rate(ObjectId device) {
  const std::lock_guard hold(rate_lock);
  double rate = static_cast<double>(kDefaultRate);
  devices.get(device, platform::kNominalRate, &rate);
  if (device_rate == static_cast<float>(rate)) return;
  device_rate = static_cast<float>(rate);
  device_rate_changed();
}

// The ring is kept: playback goes on where it was. A restart that fails leaves the player active, and the next change
// tries again.
void Player::restart_on_default_device() {
  const std::lock_guard hold(control);
  const AuPlayerOptions wanted = read_options();
  if (wanted.ignore_default_device_changes != 0 || !active || wanted.device != 0) return;
  tear_down_held();
  start_audio_io_held();
}

DeviceStatus Player::hw_listener_proc(ObjectId, std::uint32_t count, const platform::PropertyAddress *addresses,
                                      void *self) {
  for (std::uint32_t i = 0; i < count; ++i) {
    if (addresses[i] == platform::kDefaultOutput) static_cast<Player *>(self)->restart_on_default_device();
  }
  return 0;
}

DeviceStatus Player::device_listener_proc(ObjectId device, std::uint32_t count,
                                          const platform::PropertyAddress *addresses, void *self) {
  auto &player = *static_cast<Player *>(self);
  for (std::uint32_t i = 0; i < count; ++i) {
    if (addresses[i] == platform::kNominalRate && device == player.current_device) player.read_device_rate(device);
  }
  return 0;
}

}  // namespace auspool
