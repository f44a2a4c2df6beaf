// What every backend needs.
#pragma once

#include <atomic>
#include <cstring>
#include <new>
#include <span>

#include "platform/audio_device.h"

namespace auspool::platform {

// A number for another device. None comes again in the life of the process, whichever backend is open.
inline ObjectId next_object_id() {
  static std::atomic<ObjectId> last = kSystemObject;
  return ++last;
}

// Memory that runs out is a status.
template <typename Work>
DeviceStatus guarded(const Work &work) {
  try {
    return work();
  } catch (const std::bad_alloc &) {
    return AUDEVICE_NO_MEMORY;
  }
}

// What is set must be exactly a T.
template <typename T>
bool take(std::span<const std::byte> bytes, T *value) {
  if (bytes.size() != sizeof(T)) return false;
  std::memcpy(value, bytes.data(), sizeof(T));
  return true;
}

// Of a device whose channels are 32-bit floats.
inline StreamFormat float_format(double rate, std::uint32_t channels) {
  StreamFormat format;
  format.rate = rate;
  format.channels = channels;
  format.frames_per_packet = 1;
  format.bytes_per_frame = format.bytes_per_packet = 4 * channels;
  format.bits_per_channel = 32;
  return format;
}

}  // namespace auspool::platform
