#include "auspool/audevice.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "platform/audio_device.h"

using namespace auspool;
using namespace auspool::platform;

namespace {

// Text is cut to the room at a whole character.
void read_text(AudioDevices &devices, ObjectId id, const PropertyAddress &address, char (&text)[AUDEVICE_NAME_BYTES]) {
  std::uint32_t bytes = sizeof text;
  if (devices.get_property(id, address, &bytes, text) != 0) bytes = 0;
  if (bytes == sizeof text) {
    --bytes;
    while (bytes > 0 && (text[bytes] & 0xc0) == 0x80) --bytes;
  }
  std::fill(text + bytes, std::end(text), '\0');
}

// A property that cannot be read leaves what there was.
audevice_info describe(AudioDevices &devices, ObjectId id) {
  audevice_info info = {};
  info.id = id;
  devices.get(id, channel_count(kInput), &info.input_channels);
  devices.get(id, channel_count(kOutput), &info.output_channels);
  devices.get(id, kNominalRate, &info.rate);
  devices.get(id, kBufferFrames, &info.buffer_frames);
  ObjectId input = 0, output = 0;
  devices.get(kSystemObject, kDefaultInput, &input);
  devices.get(kSystemObject, kDefaultOutput, &output);
  info.is_default_input = id == input;
  info.is_default_output = id == output;
  read_text(devices, id, kName, info.name);
  read_text(devices, id, kUid, info.uid);
  return info;
}

DeviceStatus read_ids(AudioDevices &devices, std::vector<ObjectId> &ids) {
  std::uint32_t bytes = 0;
  DeviceStatus status = devices.property_size(kSystemObject, kDevices, &bytes);
  if (status != 0) return status;
  ids.resize(bytes / sizeof(ObjectId) + 16);  // some may come meanwhile
  bytes = static_cast<std::uint32_t>(ids.size() * sizeof(ObjectId));
  status = devices.get_property(kSystemObject, kDevices, &bytes, ids.data());
  ids.resize(status == 0 ? bytes / sizeof(ObjectId) : 0);
  return status;
}

}  // namespace

const char *audevice_backend_name(int32_t index) {
  return index < 0 ? nullptr : audio_backend_name(static_cast<std::size_t>(index));
}

const char *audevice_backend(void) {
  return chosen_audio_backend();
}

int32_t audevice_choose_backend(const char *name) {
  return choose_audio_backend(name);
}

int32_t audevice_list(audevice_info *devices, int32_t room, int32_t *count) try {
  *count = 0;
  AudioDevices system;
  std::vector<ObjectId> ids;
  const DeviceStatus status = read_ids(system, ids);
  if (status != 0) return status;
  *count = static_cast<int32_t>(ids.size());
  for (int32_t i = 0; i < std::min(*count, room); ++i) devices[i] = describe(system, ids[static_cast<std::size_t>(i)]);
  return 0;
} catch (const std::bad_alloc &) {
  return AUDEVICE_NO_MEMORY;
}

struct audevice_watch {
  static constexpr PropertyAddress kWatched[] = {kDevices, kDefaultOutput, kDefaultInput};

  ~audevice_watch() {
    for (const PropertyAddress &address : kWatched) devices.remove_listener(kSystemObject, address, listener, this);
  }

  bool listen() {
    return std::ranges::all_of(kWatched, [&](const PropertyAddress &address) {
      return devices.add_listener(kSystemObject, address, listener, this) == 0;
    });
  }

  static DeviceStatus listener(ObjectId, std::uint32_t, const PropertyAddress *, void *self) {
    const auto &watch = *static_cast<audevice_watch *>(self);
    watch.changed(watch.context);
    return 0;
  }

  AudioDevices devices;
  audevice_changed changed = nullptr;
  void *context = nullptr;
};

audevice_watch *audevice_watch_create(audevice_changed changed, void *context) try {
  if (!changed) return nullptr;
  auto watch = std::make_unique<audevice_watch>();
  watch->changed = changed;
  watch->context = context;
  return watch->listen() ? watch.release() : nullptr;
} catch (const std::bad_alloc &) {
  return nullptr;
}

void audevice_watch_destroy(audevice_watch *watch) {
  delete watch;
}
