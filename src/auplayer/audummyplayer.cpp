#include "auspool/audummyplayer.h"

#include <memory>
#include <new>

#include "auplayer/device_settings.h"
#include "platform/audio_device.h"

using namespace auspool;
using namespace auspool::platform;

namespace {

DeviceStatus play_nothing(ObjectId, const TimeStamp *, const BufferList *, const TimeStamp *, BufferList *,
                          const TimeStamp *, void *) {
  return 0;
}

struct DummyPlayer {
  ~DummyPlayer() {
    if (io_proc_id == 0) return;
    devices.stop(device, io_proc_id);
    devices.destroy_io_proc(device, io_proc_id);
  }

  // Whether it is on a device, or wants none.
  bool find_device(ObjectId wanted) {
    device = wanted;
    if (device != 0) return true;
    return devices.get(kSystemObject, kDefaultOutput, &device) == 0 && device != 0;
  }

  bool start(std::uint32_t buffer_frames) {
    if (device == kNoDevice) return true;
    try_buffer_frames(devices, device, buffer_frames);
    return start_io(devices, device, play_nothing, nullptr, &io_proc_id) == 0;
  }

  AudioDevices devices;
  IoProcId io_proc_id = 0;
  ObjectId device = 0;
};

template <typename Player>
Player *run(ObjectId device, std::uint32_t buffer_frames) try {
  auto player = std::make_unique<Player>();
  return player->find_device(device) && player->start(buffer_frames) ? player.release() : nullptr;
} catch (const std::bad_alloc &) {
  return nullptr;
}

}  // namespace

struct audummyplayer : DummyPlayer {};
struct audummyplayer2 : DummyPlayer {};

audummyplayer *audummyplayer_run(uint32_t device, uint32_t buffer_frames) {
  return run<audummyplayer>(device, buffer_frames);
}

void audummyplayer_stop(audummyplayer *player) {
  delete player;
}

uint32_t audummyplayer_device(const audummyplayer *player) {
  return player ? player->device : AUDUMMYPLAYER_NO_DEVICE;
}

audummyplayer2 *audummyplayer2_run(uint32_t device, uint32_t buffer_frames) {
  return run<audummyplayer2>(device, buffer_frames);
}

void audummyplayer2_stop(audummyplayer2 *player) {
  delete player;
}

uint32_t audummyplayer2_device(const audummyplayer2 *player) {
  return player ? player->device : AUDUMMYPLAYER_NO_DEVICE;
}
