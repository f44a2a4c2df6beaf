#include "auplayer/device_settings.h"

#include <array>

namespace auspool {

void try_buffer_frames(platform::AudioDevices &devices, platform::ObjectId device, std::uint32_t frames) {
  constexpr std::uint32_t kMostFrames = 4096;
  for (; frames != 0 && frames <= kMostFrames; frames *= 2) {
    if (devices.set(device, platform::kBufferFrames, frames) == 0) return;
  }
}

bool read_stereo_pair(platform::AudioDevices &devices, platform::ObjectId device, std::uint32_t scope,
                      std::uint32_t (&pair)[2]) {
  std::array<std::uint32_t, 2> read;
  if (devices.get(device, platform::stereo_pair(scope), &read) != 0 || read[0] == 0 || read[1] == 0) return false;
  pair[0] = read[0];
  pair[1] = read[1];
  return true;
}

}  // namespace auspool
