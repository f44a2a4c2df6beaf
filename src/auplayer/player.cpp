// Starting and stopping, and the device under a player.
#include "auplayer/player.h"

#include <algorithm>
#include <bit>
#include <new>

#include "auplayer/device_settings.h"

namespace auspool {

using platform::DeviceStatus;
using platform::ObjectId;

namespace {

constexpr std::uint64_t kDefaultRingBytes = 262144;

// A hair under 1, exactly this one.
constexpr float kDuckLevel = std::bit_cast<float>(0x3F7FFFEFu);

}  // namespace

Player::Player() : ring(rbuffer2_create(0, 1), rbuffer2_destroy) {
  if (!ring) throw std::bad_alloc();
}

// Where there is nobody to listen to, a player works all the same; memory that ran out is a failed creation.
void Player::listen() {
  const DeviceStatus status =
      devices.add_listener(platform::kSystemObject, platform::kDefaultOutput, hw_listener_proc, this);
  if (status == AUDEVICE_NO_MEMORY) throw std::bad_alloc();
}

void Player::stop_listening() {
  stop();
  devices.remove_listener(platform::kSystemObject, platform::kDefaultOutput, hw_listener_proc, this);
}

void Player::set_options(const AuPlayerOptions &value) {
  const std::lock_guard hold(options_lock);
  options = value;
  if (value.left_channel < 0 || value.right_channel < 0) options.left_channel = options.right_channel = 0;
}

AuPlayerOptions Player::read_options() const {
  const std::lock_guard hold(options_lock);
  return options;
}

std::int32_t Player::set_ring_bytes(std::uint64_t bytes) {
  const std::lock_guard hold(lock);
  return rbuffer2_set_size(ring.get(), static_cast<std::int32_t>(std::min<std::uint64_t>(bytes, INT32_MAX)));
}

std::int32_t Player::start() {
  const std::lock_guard hold(control);
  stop_held();
  play_done = 0;
  buffer_info_cache.valid = 0;
  play_position.store(0.0, std::memory_order_relaxed);
  source_rate = kDefaultRate;
  device_rate = kDefaultRate;
  const std::uint64_t frames = read_options().ring_frames;
  const std::uint64_t bytes = frames != 0 ? frames * 4 : kDefaultRingBytes;
  if (const std::int32_t status = set_ring_bytes(has_audio_callback() ? 0 : bytes)) return status;
  if (const DeviceStatus status = start_audio_io_held()) {
    set_ring_bytes(0);
    return status;
  }
  active = 1;
  return 0;
}

void Player::stop() {
  const std::lock_guard hold(control);
  stop_held();
}

void Player::stop_held() {
  if (!active) return;
  tear_down_held();
  current_device = 0;
  set_ring_bytes(0);
  active = 0;
}

// Statuses mean nothing here: the device may be gone.
void Player::tear_down_held() {
  const ObjectId device = current_device;
  if (device == platform::kNoDevice || io_proc_id == 0) return;
  if (devices.can_duck()) devices.duck(device, 1.0f, 0.0f);
  devices.stop(device, io_proc_id);
  devices.destroy_io_proc(device, io_proc_id);
  io_proc_id = 0;
  devices.remove_listener(device, platform::kNominalRate, device_listener_proc, this);
}

DeviceStatus Player::start_audio_io_held() {
  reset_resampler();
  current_device = 0;
  const AuPlayerOptions wanted = read_options();
  ObjectId device = wanted.device;
  if (device == 0) {
    const DeviceStatus status = devices.get(platform::kSystemObject, platform::kDefaultOutput, &device);
    if (status != 0) return status;
    if (device == 0) return AUPLAYER_NO_DEFAULT_DEVICE;
  }
  out_left_channel = static_cast<std::uint32_t>(wanted.left_channel);
  out_right_channel = static_cast<std::uint32_t>(wanted.right_channel);
  if (device != platform::kNoDevice) {
    if (const DeviceStatus status = start_device_held(device, wanted.io_buffer_frames)) return status;
  }
  current_device = device;
  if (device != platform::kNoDevice) read_device_rate(device);  // it may have changed before it was listened to
  return 0;
}

DeviceStatus Player::start_device_held(ObjectId device, std::uint32_t buffer_frames) {
  read_device_rate(device);
  try_buffer_frames(devices, device, buffer_frames);
  if (std::uint32_t pair[2];
      (out_left_channel == 0 || out_right_channel == 0) && read_stereo_pair(devices, device, platform::kOutput, pair)) {
    if (out_left_channel == 0) out_left_channel = pair[0];
    if (out_right_channel == 0) out_right_channel = pair[1];
  }
  const auto duck = [&] {
    if (devices.can_duck()) devices.duck(device, kDuckLevel, 0.0f);
  };
  if (const DeviceStatus status = start_io(devices, device, device_io_proc, this, &io_proc_id, duck)) return status;
  devices.add_listener(device, platform::kNominalRate, device_listener_proc, this);
  return 0;
}

}  // namespace auspool
