// Starting and stopping a line on a device.
#include "auspool/auline.h"

#include <new>

#include "auline/auline_record.h"
#include "auplayer/device_settings.h"

using namespace auspool;
using namespace auspool::platform;

namespace {

constexpr PropertyAddress kFormat = stream_format(kInput);

// Best effort: a device without sources keeps what it has.
void select_source(AudioDevices &devices, ObjectId device, std::uint32_t source) {
  std::uint32_t bytes = 0;
  if (devices.property_size(device, data_source(kInput), &bytes) != 0 || bytes == 0) return;
  devices.set(device, data_source(kInput), source);
}

}  // namespace

std::int32_t auline::start(auline_callback function, void *argument) {
  stop();
  context = argument;
  callback = function;
  if (!callback) return -1;
  working_left = static_cast<std::uint32_t>(options.left_channel);
  working_right = static_cast<std::uint32_t>(options.right_channel);
  working_source = options.data_source;
  buffer_info_cache.valid = 0;
  ObjectId device = options.device;
  if (device == 0) {
    if (const DeviceStatus status = devices.get(kSystemObject, kDefaultInput, &device)) return status;
  }
  working_device = device;
  return device == kNoDevice ? start_silence() : start_device();
}

std::int32_t auline::start_device() {
  const ObjectId device = working_device;
  if (working_source != 0) select_source(devices, device, working_source);
  if (const DeviceStatus status = settle_format()) return status;
  try_buffer_frames(devices, device, options.buffer_frames);
  if (std::uint32_t pair[2];
      working_left == 0 && working_right == 0 && read_stereo_pair(devices, device, kInput, pair)) {
    working_left = pair[0];
    working_right = pair[1];
  }
  if (const DeviceStatus status = start_io(devices, device, device_io_proc, this, &io_proc_id)) return status;
  active = 1;
  devices.add_listener(device, kFormat, device_property_proc, this);
  read_rate();  // it may have changed before it was listened to
  return 0;
}

// Reads the format, and sets its rate where the options ask for one.
DeviceStatus auline::settle_format() {
  StreamFormat format;
  if (const DeviceStatus status = devices.get(working_device, kFormat, &format)) return status;
  if (format.format != four_cc("lpcm")) return -1;
  rate = static_cast<float>(format.rate);
  if (options.sample_rate == 0.0f) return 0;
  format.rate = static_cast<double>(options.sample_rate);
  if (const DeviceStatus status = devices.set(working_device, kFormat, format)) return status;
  if (const DeviceStatus status = devices.get(working_device, kFormat, &format)) return status;
  rate = static_cast<float>(format.rate);
  return 0;
}

// Statuses mean nothing here: the device may be gone.
void auline::stop() {
  if (!active) return;
  active = 0;
  if (working_device == kNoDevice) {
    timer.remove();
    silence.reset();
    return;
  }
  devices.stop(working_device, io_proc_id);
  devices.destroy_io_proc(working_device, io_proc_id);
  io_proc_id = 0;
  devices.remove_listener(working_device, kFormat, device_property_proc, this);
}

// From the look until it is stored no other thread looks, so that none stores an older rate over a newer one.
void auline::read_rate() {
  const std::lock_guard hold(rate_lock);
  if (StreamFormat format; devices.get(working_device, kFormat, &format) == 0) rate = static_cast<float>(format.rate);
}

DeviceStatus auline::device_property_proc(ObjectId device, std::uint32_t count, const PropertyAddress *addresses,
                                          void *self) {
  auto *const line = static_cast<auline *>(self);
  if (!addresses || !line) return 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (addresses[i].selector == kFormat.selector && device == line->working_device) line->read_rate();
  }
  return 0;
}

// ---- The interface ----

auline *auline_create(void) try { return new auline; } catch (const std::bad_alloc &) {
  return nullptr;
}

void auline_destroy(auline *line) {
  delete line;
}

AuLineOptions auline_options(const auline *line) {
  return line->options;
}

void auline_set_options(auline *line, const AuLineOptions *options) {
  line->options = *options;
  if (options->left_channel < 0 || options->right_channel < 0) {
    line->options.left_channel = line->options.right_channel = 0;
  }
}

int32_t auline_start(auline *line, auline_callback callback, void *context) {
  return line->start(callback, context);
}

void auline_stop(auline *line) {
  line->stop();
}

int32_t auline_is_active(const auline *line) {
  return line->active;
}
