#include "platform/audio_device/pipewire/backend.h"

#include <algorithm>
#include <mutex>
#include <span>

#include "platform/audio_device/backend_support.h"
#include "platform/audio_device/backends.h"

namespace auspool::platform {
namespace {

constexpr PropertyAddress kDefaults[] = {kDefaultOutput, kDefaultInput};  // by whether it is an input

}  // namespace

std::unique_ptr<AudioBackend> open_pipewire() {
  return std::make_unique<PipeWireBackend>();
}

PipeWireBackend::PipeWireBackend() : server_(*this) {}

PipeWireBackend::~PipeWireBackend() = default;

// ---- From the server ----

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

// ---- Properties ----

PipeWireDevice *PipeWireBackend::find(ObjectId id) {
  const auto found = std::ranges::find(devices_, id, [](const DevicePointer &device) { return device->id; });
  return found == devices_.end() ? nullptr : found->get();
}

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

// ---- IO ----

DeviceStatus PipeWireBackend::create_io_proc(ObjectId device, IoProc proc, void *client, IoProcId *id) {
  return guarded([&]() -> DeviceStatus {
    const std::lock_guard lock(server_);
    PipeWireDevice *const found = find(device);
    if (!found) return AUDEVICE_BAD_OBJECT;
    found->procs.push_back({last_proc_ + 1, proc, client, false, nullptr});
    *id = ++last_proc_;
    return 0;
  });
}

DeviceStatus PipeWireBackend::destroy_io_proc(ObjectId device, IoProcId id) {
  const std::lock_guard lock(server_);
  PipeWireDevice *const found = find(device);
  if (!found) return AUDEVICE_BAD_OBJECT;
  return std::erase_if(found->procs, [&](const PipeWireProc &proc) { return proc.id == id; }) ? 0 : AUDEVICE_BAD_PROC;
}

DeviceStatus PipeWireBackend::start(ObjectId device, IoProcId id) {
  return guarded([&]() -> DeviceStatus {
    const std::lock_guard lock(server_);
    PipeWireDevice *const found = find(device);
    if (!found) return AUDEVICE_BAD_OBJECT;
    PipeWireProc *const proc = found->find(id);
    if (!proc) return AUDEVICE_BAD_PROC;
    if (proc->started) return 0;
    if (!server_.has_session_manager()) return AUDEVICE_NOT_RUNNING;
    try {
      found->start(*proc, server_);
    } catch (const std::bad_alloc &) {
      PipeWireDevice::stop(*proc);
      throw;
    }
    return run(device, id);
  });
}

// Waits until the stream runs. One that takes longer is not given up.
DeviceStatus PipeWireBackend::run(ObjectId device, IoProcId id) {
  const auto stream = [&]() -> const IoStream * {
    PipeWireDevice *const found = find(device);
    const PipeWireProc *const proc = found ? found->find(id) : nullptr;
    return proc ? proc->stream.get() : nullptr;
  };
  server_.wait_until([&] { return !stream() || stream()->runs() || stream()->has_failed(); });
  if (!find(device)) return AUDEVICE_BAD_OBJECT;
  if (!stream() || !stream()->has_failed()) return 0;
  PipeWireDevice::stop(*find(device)->find(id));
  return AUDEVICE_NOT_RUNNING;
}

DeviceStatus PipeWireBackend::stop(ObjectId device, IoProcId id) {
  return guarded([&]() -> DeviceStatus {
    const std::lock_guard lock(server_);
    PipeWireDevice *const found = find(device);
    if (!found) return AUDEVICE_BAD_OBJECT;
    PipeWireProc *const proc = found->find(id);
    if (!proc) return AUDEVICE_BAD_PROC;
    PipeWireDevice::stop(*proc);
    update(*found);
    return 0;
  });
}

}  // namespace auspool::platform
