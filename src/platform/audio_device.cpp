#include "platform/audio_device.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>

#include "platform/audio_device/backends.h"
#include "platform/audio_device/wakefulness.h"

namespace auspool::platform {
namespace {

// Stands in where there is none.
class NoBackend : public AudioBackend {
  DeviceStatus get_property(ObjectId, const PropertyAddress &, std::uint32_t *, void *) override { return kStatus; }
  DeviceStatus property_size(ObjectId, const PropertyAddress &, std::uint32_t *) override { return kStatus; }
  DeviceStatus set_property(ObjectId, const PropertyAddress &, std::uint32_t, const void *) override { return kStatus; }
  DeviceStatus add_listener(ObjectId, const PropertyAddress &, PropertyListener, void *) override { return kStatus; }
  DeviceStatus remove_listener(ObjectId, const PropertyAddress &, PropertyListener, void *) override { return kStatus; }
  DeviceStatus create_io_proc(ObjectId, IoProc, void *, IoProcId *) override { return kStatus; }
  DeviceStatus destroy_io_proc(ObjectId, IoProcId) override { return kStatus; }
  DeviceStatus start(ObjectId, IoProcId) override { return kStatus; }
  DeviceStatus stop(ObjectId, IoProcId) override { return kStatus; }

  static constexpr DeviceStatus kStatus = AUDEVICE_NO_BACKEND;
};

const BackendEntry *default_entry() {
  const auto *const found = std::ranges::find_if(kBackends, &BackendEntry::reaches_sound_system);
  return found == std::end(kBackends) ? nullptr : found;
}

struct Layer {
  std::mutex mutex;  // guards what follows
  const BackendEntry *chosen = default_entry();
  std::unique_ptr<AudioBackend> backend;  // open while there are uses
  std::size_t uses = 0;
};

// One for the process, never destroyed: a host that ends with players alive ends with their threads running.
template <typename T>
T &immortal() {
  alignas(T) static std::byte place[sizeof(T)];
  static T &one = *new (place) T;
  return one;
}

Wakefulness &wakefulness() {
  return immortal<Wakefulness>();
}

bool is_sleep_allowed(ObjectId object, const PropertyAddress &address) {
  return object == kSystemObject && address == kSleepAllowed;
}

Layer &layer() {
  return immortal<Layer>();
}

AudioBackend &open_backend() {
  Layer &all = layer();
  const std::lock_guard lock(all.mutex);
  if (all.uses == 0) all.backend = all.chosen ? all.chosen->open() : std::make_unique<NoBackend>();
  ++all.uses;
  return *all.backend;
}

void close_backend() {
  Layer &all = layer();
  std::unique_ptr<AudioBackend> last;
  const std::lock_guard lock(all.mutex);
  if (--all.uses == 0) last = std::move(all.backend);
}

}  // namespace

AudioDevices::AudioDevices() : backend_(open_backend()) {}

AudioDevices::~AudioDevices() {
  wakefulness().have_ended([this](const RunningProc &proc) { return proc.user == this; });
  close_backend();
}

DeviceStatus AudioDevices::get_property(ObjectId object, const PropertyAddress &address, std::uint32_t *bytes,
                                        void *value) {
  if (is_sleep_allowed(object, address)) {
    const std::uint32_t allowed = wakefulness().allowed();
    *bytes = std::min<std::uint32_t>(*bytes, sizeof allowed);
    std::memcpy(value, &allowed, *bytes);
    return 0;
  }
  return backend_.get_property(object, address, bytes, value);
}

DeviceStatus AudioDevices::property_size(ObjectId object, const PropertyAddress &address, std::uint32_t *bytes) {
  if (is_sleep_allowed(object, address)) {
    *bytes = sizeof(std::uint32_t);
    return 0;
  }
  return backend_.property_size(object, address, bytes);
}

DeviceStatus AudioDevices::set_property(ObjectId object, const PropertyAddress &address, std::uint32_t bytes,
                                        const void *value) {
  if (is_sleep_allowed(object, address)) {
    std::uint32_t allowed = 0;
    if (bytes != sizeof allowed) return AUDEVICE_BAD_SIZE;
    std::memcpy(&allowed, value, sizeof allowed);
    set_sleep_allowed(allowed);
    return 0;
  }
  return backend_.set_property(object, address, bytes, value);
}

DeviceStatus AudioDevices::add_listener(ObjectId object, const PropertyAddress &address, PropertyListener listener,
                                        void *client) {
  return backend_.add_listener(object, address, listener, client);
}

DeviceStatus AudioDevices::remove_listener(ObjectId object, const PropertyAddress &address, PropertyListener listener,
                                           void *client) {
  return backend_.remove_listener(object, address, listener, client);
}

DeviceStatus AudioDevices::create_io_proc(ObjectId device, IoProc proc, void *client, IoProcId *id) {
  return backend_.create_io_proc(device, proc, client, id);
}

DeviceStatus AudioDevices::destroy_io_proc(ObjectId device, IoProcId id) {
  return backend_.destroy_io_proc(device, id);
}

DeviceStatus AudioDevices::start(ObjectId device, IoProcId id) try {
  const RunningProc proc = {this, device, id};
  const bool is_new = wakefulness().will_start(proc);
  const DeviceStatus status = backend_.start(device, id);
  if (status == 0) {
    wakefulness().has_started();
  } else if (is_new) {
    wakefulness().has_ended(proc);
  }
  return status;
} catch (const std::bad_alloc &) {
  return AUDEVICE_NO_MEMORY;
}

DeviceStatus AudioDevices::stop(ObjectId device, IoProcId id) {
  // Whatever comes of it, the proc that was started here runs no more.
  wakefulness().has_ended({this, device, id});
  return backend_.stop(device, id);
}

bool AudioDevices::can_duck() const {
  return backend_.can_duck();
}

DeviceStatus AudioDevices::duck(ObjectId device, float level, float ramp_seconds) {
  return backend_.duck(device, level, ramp_seconds);
}

void device_went(ObjectId device) {
  wakefulness().have_ended([device](const RunningProc &proc) { return proc.device == device; });
}

void set_sleep_allowed(std::uint32_t allowed) {
  wakefulness().set_allowed(allowed);
}

const char *audio_backend_name(std::size_t index) {
  return index < std::size(kBackends) ? kBackends[index].name : nullptr;
}

const char *chosen_audio_backend() {
  const std::lock_guard lock(layer().mutex);
  return layer().chosen ? layer().chosen->name : nullptr;
}

DeviceStatus choose_audio_backend(const char *name) {
  const auto *const found =
      name ? std::ranges::find(kBackends, std::string_view(name), &BackendEntry::name) : default_entry();
  if (name && found == std::end(kBackends)) return AUDEVICE_NO_BACKEND;
  const std::lock_guard lock(layer().mutex);
  if (layer().uses != 0) return AUDEVICE_BUSY;
  layer().chosen = found;
  return 0;
}

}  // namespace auspool::platform
