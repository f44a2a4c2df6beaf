// What players and lines ask of a device before they start it.
#pragma once

#include "platform/audio_device.h"

namespace auspool {

// Asks for `frames` a cycle, and after each refusal for twice as many, up to 4096. 0 asks for nothing. A device that
// refuses all keeps its size.
void try_buffer_frames(platform::AudioDevices &devices, platform::ObjectId device, std::uint32_t frames);

// The device's preferred channels in this direction, from 1. Whether it has two.
bool read_stereo_pair(platform::AudioDevices &devices, platform::ObjectId device, std::uint32_t scope,
                      std::uint32_t (&pair)[2]);

}  // namespace auspool
