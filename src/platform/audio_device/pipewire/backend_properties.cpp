// Properties and who listens to them.
#include <mutex>
#include <new>
#include <span>

#include "platform/audio_device/backend_support.h"
#include "platform/audio_device/pipewire/backend.h"

namespace auspool::platform {

DeviceStatus PipeWireBackend::properties_of(ObjectId object, const PropertyStore **properties) {
  const PipeWireDevice *const device = find(object);
  *properties = object == kSystemObject ? &system_ : device ? &device->properties : nullptr;
  if (object == kSystemObject && !server_.is_connected()) return AUDEVICE_NOT_RUNNING;
  return *properties ? 0 : AUDEVICE_BAD_OBJECT;
}

DeviceStatus PipeWireBackend::get_property(ObjectId object, const PropertyAddress &address, std::uint32_t *bytes,
                                           void *value) {
  const std::lock_guard lock(server_);
  const PropertyStore *properties = nullptr;
  if (const DeviceStatus status = properties_of(object, &properties)) return status;
  return properties->read(address, bytes, value);
}

DeviceStatus PipeWireBackend::property_size(ObjectId object, const PropertyAddress &address, std::uint32_t *bytes) {
  const std::lock_guard lock(server_);
  const PropertyStore *properties = nullptr;
  if (const DeviceStatus status = properties_of(object, &properties)) return status;
  return properties->size(address, bytes);
}

DeviceStatus PipeWireBackend::set_property(ObjectId object, const PropertyAddress &address, std::uint32_t bytes,
                                           const void *value) {
  return guarded([&]() -> DeviceStatus {
    const std::lock_guard lock(server_);
    const PropertyStore *properties = nullptr;
    if (const DeviceStatus status = properties_of(object, &properties)) return status;
    if (!properties->has(address)) return AUDEVICE_UNKNOWN_PROPERTY;
    const std::span data(static_cast<const std::byte *>(value), bytes);
    return object == kSystemObject ? set_system(address, data) : set_device(object, address, data);
  });
}

DeviceStatus PipeWireBackend::set_system(const PropertyAddress &address, std::span<const std::byte> value) {
  for (const bool is_input : {false, true}) {
    if (address != kDefaults[is_input]) continue;
    ObjectId id = 0;
    return take(value, &id) ? set_default(is_input, id) : AUDEVICE_BAD_SIZE;
  }
  return AUDEVICE_READ_ONLY;
}

// The session manager decides; we ask, and see whether it follows.
DeviceStatus PipeWireBackend::set_default(bool is_input, ObjectId id) {
  const PipeWireDevice *const device = find(id);
  if (!device || device->node.is_input != is_input) return AUDEVICE_BAD_VALUE;
  if (!server_.ask_for_default(is_input, device->node.name)) return AUDEVICE_NOT_RUNNING;
  const bool followed = server_.wait_until([&] { return system_.get(kDefaults[is_input], ObjectId{0}) == id; });
  return followed ? 0 : AUDEVICE_BAD_VALUE;
}

DeviceStatus PipeWireBackend::set_device(ObjectId id, const PropertyAddress &address,
                                         std::span<const std::byte> value) {
  PipeWireDevice &device = *find(id);
  if (address == kNominalRate) {
    double rate = 0.0;
    return take(value, &rate) ? set_rate(id, rate) : AUDEVICE_BAD_SIZE;
  }
  if (address == stream_format(device.scope())) {
    StreamFormat format;
    return take(value, &format) ? set_rate(id, format.rate) : AUDEVICE_BAD_SIZE;
  }
  if (address != kBufferFrames) return AUDEVICE_READ_ONLY;
  std::uint32_t frames = 0;
  if (!take(value, &frames)) return AUDEVICE_BAD_SIZE;
  const DeviceStatus status = device.wish_frames(frames, settings_);
  update(device);
  return status;
}

// What runs afterwards says whether the graph took it; otherwise nothing goes on asking for it. Streams for which there
// was no memory meanwhile begin later.
DeviceStatus PipeWireBackend::set_rate(ObjectId id, double rate) {
  const double before = find(id)->wished_rate();
  try {
    if (const DeviceStatus status = find(id)->wish_rate(rate, settings_, server_)) return status;
    update(*find(id));
    const auto has_rate = [&] { return find(id)->rate() == rate && !find(id)->has_idle_streams(); };
    const bool followed = server_.wait_until([&] { return !find(id) || has_rate(); });
    if (!find(id)) return AUDEVICE_BAD_OBJECT;
    if (followed) return 0;
    find(id)->take_back_rate(before, server_);
    update(*find(id));
  } catch (const std::bad_alloc &) {
    try_failed_streams_later();
    throw;
  }
  return AUDEVICE_BAD_VALUE;
}

// ---- Listeners ----

// The system can be listened to before it can be reached. Whoever listens to a rate is called once at least: a stream
// that started after he read the rate may have changed it before he listened.
DeviceStatus PipeWireBackend::add_listener(ObjectId object, const PropertyAddress &address, PropertyListener listener,
                                           void *client) {
  return guarded([&]() -> DeviceStatus {
    const std::lock_guard lock(server_);
    if (object != kSystemObject && !find(object)) return AUDEVICE_BAD_OBJECT;
    if (address == kNominalRate) notifier_.make_room();
    const DeviceStatus status = notifier_.listeners.add(object, address, listener, client);
    if (status == 0 && address == kNominalRate) notifier_.post(object, address);
    return status;
  });
}

DeviceStatus PipeWireBackend::remove_listener(ObjectId object, const PropertyAddress &address,
                                              PropertyListener listener, void *client) {
  notifier_.listeners.remove(object, address, listener, client);
  const std::lock_guard lock(server_);
  return object == kSystemObject || find(object) ? 0 : AUDEVICE_BAD_OBJECT;
}

}  // namespace auspool::platform
