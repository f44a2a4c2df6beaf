// What players ask of simulated devices.
#include "platform/audio_device/simulated.h"

#include <algorithm>

#include "platform/audio_device/backend_support.h"
#include "platform/audio_device/backends.h"

namespace auspool::platform {
namespace {

ausim_operation operation_of(std::int32_t kind, ObjectId object, const PropertyAddress &address = {},
                             std::uint32_t bytes = 0, const void *value = nullptr) {
  return {kind, object, address.selector, address.scope, bytes, value};
}

}  // namespace

std::unique_ptr<AudioBackend> open_simulated() {
  return std::make_unique<SimulatedBackend>();
}

DeviceStatus SimulatedBackend::ask_script(const ausim_operation &operation) {
  std::unique_lock lock(model_);
  const auto callback = operation_callback_;
  void *const context = operation_context_;
  lock.unlock();
  return callback ? callback(context, &operation) : 0;
}

SimulatedBackend::DevicePointer SimulatedBackend::find_locked(ObjectId id) const {
  const auto found = std::ranges::find(devices_, id, [](const DevicePointer &device) { return device->id; });
  return found == devices_.end() ? nullptr : *found;
}

// For who ends a proc of a device that went away: its last cycle may still run.
DeviceStatus SimulatedBackend::wait_for_last_cycle(ObjectId id, std::unique_lock<std::mutex> &lock) {
  const auto found = std::ranges::find(leaving_, id, [](const DevicePointer &device) { return device->id; });
  const DevicePointer device = found == leaving_.end() ? nullptr : *found;
  lock.unlock();
  if (device) device->wait_for_cycle();
  return AUDEVICE_BAD_OBJECT;
}

const PropertyStore *SimulatedBackend::properties_locked(ObjectId object) const {
  if (object == kSystemObject) return &system_;
  const DevicePointer device = find_locked(object);
  return device ? &device->properties : nullptr;
}

DeviceStatus SimulatedBackend::get_property(ObjectId object, const PropertyAddress &address, std::uint32_t *bytes,
                                            void *value) {
  if (const DeviceStatus status = ask_script(operation_of(AUSIM_GET, object, address))) return status;
  const std::lock_guard lock(model_);
  const PropertyStore *const properties = properties_locked(object);
  return properties ? properties->read(address, bytes, value) : AUDEVICE_BAD_OBJECT;
}

DeviceStatus SimulatedBackend::property_size(ObjectId object, const PropertyAddress &address, std::uint32_t *bytes) {
  if (const DeviceStatus status = ask_script(operation_of(AUSIM_SIZE, object, address))) return status;
  const std::lock_guard lock(model_);
  const PropertyStore *const properties = properties_locked(object);
  return properties ? properties->size(address, bytes) : AUDEVICE_BAD_OBJECT;
}

DeviceStatus SimulatedBackend::set_property(ObjectId object, const PropertyAddress &address, std::uint32_t bytes,
                                            const void *value) {
  if (const DeviceStatus status = ask_script(operation_of(AUSIM_SET, object, address, bytes, value))) return status;
  return guarded([&]() -> DeviceStatus {
    const std::lock_guard lock(model_);
    if (object == kSystemObject) return system_.has(address) ? AUDEVICE_READ_ONLY : AUDEVICE_UNKNOWN_PROPERTY;
    const DevicePointer device = find_locked(object);
    if (!device) return AUDEVICE_BAD_OBJECT;
    std::vector<PropertyAddress> changed;
    const DeviceStatus status = device->set(address, {static_cast<const std::byte *>(value), bytes}, changed);
    queue_locked(object, changed);
    return status;
  });
}

DeviceStatus SimulatedBackend::add_listener(ObjectId object, const PropertyAddress &address, PropertyListener listener,
                                            void *client) {
  if (const DeviceStatus status = ask_script(operation_of(AUSIM_ADD_LISTENER, object, address))) return status;
  const std::lock_guard lock(model_);
  return properties_locked(object) ? listeners_.add(object, address, listener, client) : AUDEVICE_BAD_OBJECT;
}

// A failure that the script orders is told, but the listener goes all the same: its client may be gone next.
DeviceStatus SimulatedBackend::remove_listener(ObjectId object, const PropertyAddress &address,
                                               PropertyListener listener, void *client) {
  const DeviceStatus ordered = ask_script(operation_of(AUSIM_REMOVE_LISTENER, object, address));
  listeners_.remove(object, address, listener, client);
  if (ordered != 0) return ordered;
  const std::lock_guard lock(model_);
  return properties_locked(object) ? 0 : AUDEVICE_BAD_OBJECT;
}

DeviceStatus SimulatedBackend::create_io_proc(ObjectId device, IoProc proc, void *client, IoProcId *id) {
  if (const DeviceStatus status = ask_script(operation_of(AUSIM_CREATE_IO, device))) return status;
  return guarded([&]() -> DeviceStatus {
    const std::lock_guard lock(model_);
    const DevicePointer found = find_locked(device);
    if (!found) return AUDEVICE_BAD_OBJECT;
    found->create_proc(proc, client, last_proc_ + 1);
    *id = ++last_proc_;
    return 0;
  });
}

DeviceStatus SimulatedBackend::destroy_io_proc(ObjectId device, IoProcId id) {
  const DeviceStatus ordered = ask_script(operation_of(AUSIM_DESTROY_IO, device));
  std::unique_lock lock(model_);
  const DevicePointer found = find_locked(device);
  if (!found) return wait_for_last_cycle(device, lock);
  const bool known = found->destroy_proc(id);
  lock.unlock();
  found->wait_for_cycle();
  return ordered != 0 ? ordered : known ? 0 : AUDEVICE_BAD_PROC;
}

DeviceStatus SimulatedBackend::set_running(ObjectId device, IoProcId id, bool running) {
  std::unique_lock lock(model_);
  const DevicePointer found = find_locked(device);
  if (!found) return wait_for_last_cycle(device, lock);
  if (!found->set_running(id, running, now_locked())) return AUDEVICE_BAD_PROC;
  wake_.notify_all();
  lock.unlock();
  if (!running) found->wait_for_cycle();
  return 0;
}

DeviceStatus SimulatedBackend::start(ObjectId device, IoProcId id) {
  if (const DeviceStatus status = ask_script(operation_of(AUSIM_START, device))) return status;
  return set_running(device, id, true);
}

DeviceStatus SimulatedBackend::stop(ObjectId device, IoProcId id) {
  const DeviceStatus ordered = ask_script(operation_of(AUSIM_STOP, device));
  const DeviceStatus status = set_running(device, id, false);
  return ordered != 0 ? ordered : status;
}

bool SimulatedBackend::can_duck() const {
  const std::lock_guard lock(model_);
  return ducking_;
}

DeviceStatus SimulatedBackend::duck(ObjectId device, float level, float) {
  return ask_script(operation_of(AUSIM_DUCK, device, {}, sizeof level, &level));
}

}  // namespace auspool::platform
