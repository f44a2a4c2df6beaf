// What the server tells.
#include "platform/audio_device/pipewire/backend.h"

#include <algorithm>
#include <mutex>
#include <span>

#include "platform/audio_device/backend_support.h"
#include "platform/audio_device/backends.h"

namespace auspool::platform {

std::unique_ptr<AudioBackend> open_pipewire() {
  return std::make_unique<PipeWireBackend>();
}

PipeWireBackend::PipeWireBackend() : server_(*this) {}

PipeWireBackend::~PipeWireBackend() = default;

void PipeWireBackend::node_came(const Node &node) {
  devices_.push_back(std::make_unique<PipeWireDevice>(next_object_id(), node, settings_));
  update_system();
}

void PipeWireBackend::node_went(std::uint32_t number) {
  const auto gone =
      std::ranges::find(devices_, number, [](const DevicePointer &device) { return device->node.number; });
  if (gone == devices_.end()) return;
  remove(gone);
  update_system();
}

// Its streams end with it, and wait for procs that run.
void PipeWireBackend::remove(std::vector<DevicePointer>::iterator device) {
  const ObjectId id = (*device)->id;
  devices_.erase(device);
  notifier_.listeners.forget(id);
  device_went(id);
}

void PipeWireBackend::default_changed(bool is_input, const std::string &name) {
  defaults_[is_input] = name;
  update_system();
}

void PipeWireBackend::setting_changed(const char *key, const char *value) {
  settings_.set(key, value);
  update_all();
}

// Whoever could not be served before is told to ask again.
void PipeWireBackend::server_came() {
  for (const PropertyAddress &address : {kDevices, kDefaultOutput, kDefaultInput}) {
    notifier_.post(kSystemObject, address);
  }
}

void PipeWireBackend::server_went() {
  while (!devices_.empty()) remove(devices_.end() - 1);
  defaults_[false].clear();
  defaults_[true].clear();
  settings_ = {};
  update_system();
}

void PipeWireBackend::streams_changed() {
  update_all();
  try_failed_streams_later();
}

void PipeWireBackend::try_again() {
  for (const DevicePointer &device : devices_) device->restart_failed_streams(server_);
  try_failed_streams_later();
}

void PipeWireBackend::try_failed_streams_later() {
  if (std::ranges::any_of(devices_, &PipeWireDevice::has_failed_streams)) server_.try_again_later();
}

void PipeWireBackend::update(PipeWireDevice &device) {
  for (const PropertyAddress &address : device.update(settings_)) notifier_.post(device.id, address);
}

void PipeWireBackend::update_all() {
  for (const DevicePointer &device : devices_) update(*device);
  server_.wake();
}

void PipeWireBackend::update_system() {
  std::vector<ObjectId> ids;
  for (const DevicePointer &device : devices_) ids.push_back(device->id);
  if (system_.put(kDevices, std::as_bytes(std::span(ids)))) notifier_.post(kSystemObject, kDevices);
  for (const bool is_input : {false, true}) {
    const auto found = std::ranges::find_if(devices_, [&](const DevicePointer &device) {
      return device->node.is_input == is_input && device->node.name == defaults_[is_input];
    });
    const ObjectId id = found == devices_.end() ? 0 : (*found)->id;
    if (system_.put(kDefaults[is_input], id)) notifier_.post(kSystemObject, kDefaults[is_input]);
  }
  server_.wake();
}

PipeWireDevice *PipeWireBackend::find(ObjectId id) {
  const auto found = std::ranges::find(devices_, id, [](const DevicePointer &device) { return device->id; });
  return found == devices_.end() ? nullptr : found->get();
}

}  // namespace auspool::platform
