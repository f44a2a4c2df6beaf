// The backends that this library was built with.
#pragma once

#include <memory>

#include "platform/audio_device.h"

namespace auspool::platform {

// Each opens its backend; throws std::bad_alloc. A sound system that cannot be reached now is no failure: operations
// then give AUDEVICE_NOT_RUNNING, and the backend goes on trying.
std::unique_ptr<AudioBackend> open_pipewire();
std::unique_ptr<AudioBackend> open_simulated();

// To be told by a backend whose device went away: its procs have ended, and no longer keep the computer awake. May wait
// as long as a start does.
void device_went(ObjectId device);

struct BackendEntry {
  const char *name;
  std::unique_ptr<AudioBackend> (*open)();
  bool reaches_sound_system;  // only such a one is ever the default
};

// In order of preference.
inline constexpr BackendEntry kBackends[] = {
#ifdef AUSPOOL_PIPEWIRE
    {"pipewire", open_pipewire, true},
#endif
    {"simulated", open_simulated, false},
};

}  // namespace auspool::platform
