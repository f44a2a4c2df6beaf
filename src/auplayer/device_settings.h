// What players and lines ask of a device before they start it, and the start.
#pragma once

#include "platform/audio_device.h"

namespace auspool {

// Asks for `frames` a cycle, and after each refusal for twice as many, up to 4096. 0 asks for nothing. A device that
// refuses all keeps its size.
void try_buffer_frames(platform::AudioDevices &devices, platform::ObjectId device, std::uint32_t frames);

// The device's preferred channels in this direction, from 1. Whether it has two.
bool read_stereo_pair(platform::AudioDevices &devices, platform::ObjectId device, std::uint32_t scope,
                      std::uint32_t (&pair)[2]);

// Makes an IO proc and starts it; `before` is called in between. After a failure there is none, and *id is 0.
template <typename Before>
platform::DeviceStatus start_io(platform::AudioDevices &devices, platform::ObjectId device, platform::IoProc proc,
                                void *client, platform::IoProcId *id, const Before &before) {
  if (const platform::DeviceStatus status = devices.create_io_proc(device, proc, client, id)) {
    *id = 0;
    return status;
  }
  before();
  const platform::DeviceStatus status = devices.start(device, *id);
  if (status != 0) {
    devices.destroy_io_proc(device, *id);
    *id = 0;
  }
  return status;
}
inline platform::DeviceStatus start_io(platform::AudioDevices &devices, platform::ObjectId device,
                                       platform::IoProc proc, void *client, platform::IoProcId *id) {
  return start_io(devices, device, proc, client, id, [] {});
}

}  // namespace auspool
