// The simulated devices that there are: the two of a backend without a script, and what a script adds, takes away and
// changes.
#include <algorithm>
#include <new>

#include "platform/audio_device/backend_support.h"
#include "platform/audio_device/backends.h"
#include "platform/audio_device/simulated.h"

namespace auspool::platform {
namespace {

constexpr std::uint32_t kStereo[] = {2};

ausim_device default_device(const char *name) {
  ausim_device device = {};
  device.name = name;
  device.rate = 48000.0;
  device.buffer_frames = 256;
  return device;
}

}  // namespace

SimulatedBackend::SimulatedBackend() {
  system_.put(kDefaultOutput, ObjectId{0});
  system_.put(kDefaultInput, ObjectId{0});
  ausim_device output = default_device("Simulated output"), input = default_device("Simulated input");
  output.output_buffers = input.input_buffers = kStereo;
  output.output_buffer_count = input.input_buffer_count = 1;
  system_.put(kDefaultOutput, add_device_locked(output)->id);
  const DevicePointer source = add_device_locked(input);
  source->makes_sawtooth = true;
  system_.put(kDefaultInput, source->id);
  changes_.clear();
  if (!thread_.start("simulated audio", 0, enter, this)) throw std::bad_alloc();
}

SimulatedBackend::~SimulatedBackend() {
  std::unique_lock lock(model_);
  ending_ = true;
  wake_.notify_all();
  lock.unlock();
  thread_.join();
}

SimulatedBackend::DevicePointer SimulatedBackend::add_device_locked(const ausim_device &description) {
  auto device = std::make_shared<SimulatedDevice>(next_object_id(), description);
  devices_.push_back(device);
  device_list_changed_locked();
  return device;
}

void SimulatedBackend::device_list_changed_locked() {
  std::vector<ObjectId> ids;
  for (const DevicePointer &device : devices_) ids.push_back(device->id);
  system_.put(kDevices, std::as_bytes(std::span(ids)));
  queue_locked(kSystemObject, {kDevices});
}

void SimulatedBackend::queue_locked(ObjectId object, const std::vector<PropertyAddress> &changed) {
  for (const PropertyAddress &address : changed) changes_.push_back({object, address});
  if (!changed.empty()) wake_.notify_all();
}

ObjectId SimulatedBackend::add_device(const ausim_device &description) {
  std::unique_lock lock(model_);
  const ObjectId id = add_device_locked(description)->id;
  lock.unlock();
  deliver_from_script();
  return id;
}

DeviceStatus SimulatedBackend::remove_device(ObjectId id) {
  std::unique_lock lock(model_);
  const DevicePointer device = find_locked(id);
  if (!device) return AUDEVICE_BAD_OBJECT;
  leaving_.push_back(device);
  std::erase(devices_, device);
  device->stop_all();
  lock.unlock();
  device->wait_for_cycle();
  listeners_.forget(id);
  device_went(id);
  lock.lock();
  std::erase(leaving_, device);
  device_list_changed_locked();
  for (const PropertyAddress &address : {kDefaultOutput, kDefaultInput}) {
    if (system_.get(address, ObjectId{0}) != id) continue;
    system_.put(address, ObjectId{0});
    queue_locked(kSystemObject, {address});
  }
  lock.unlock();
  deliver_from_script();
  return 0;
}

void SimulatedBackend::remove_all_devices() {
  for (;;) {
    std::unique_lock lock(model_);
    if (devices_.empty()) return;
    const ObjectId id = devices_.back()->id;
    lock.unlock();
    remove_device(id);
  }
}

DeviceStatus SimulatedBackend::change_property(ObjectId object, const PropertyAddress &address,
                                               std::span<const std::byte> value) {
  std::unique_lock lock(model_);
  std::vector<PropertyAddress> changed;
  if (object == kSystemObject) {
    if (system_.put(address, value)) changed.push_back(address);
  } else if (const DevicePointer device = find_locked(object)) {
    device->change(address, value, changed);
  } else {
    return AUDEVICE_BAD_OBJECT;
  }
  queue_locked(object, changed);
  lock.unlock();
  deliver_from_script();
  return 0;
}

}  // namespace auspool::platform
