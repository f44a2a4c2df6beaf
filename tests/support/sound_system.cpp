#include "support/sound_system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <span>

namespace auspool::testing {

using namespace platform;

void SoundTest::SetUp() {
  NEED_SOUND_SERVER();
  server.emplace();
  if (HasFatalFailure()) return;
  system.emplace();
  if (system->choice.status == AUDEVICE_NO_BACKEND) GTEST_SKIP() << "this build has no PipeWire";
}

std::vector<ObjectId> SoundSystem::all() {
  std::uint32_t bytes = 0;
  if (devices.property_size(kSystemObject, kDevices, &bytes) != 0) return {};
  std::vector<ObjectId> ids(bytes / sizeof(ObjectId) + 8);
  bytes = static_cast<std::uint32_t>(ids.size() * sizeof(ObjectId));
  if (devices.get_property(kSystemObject, kDevices, &bytes, ids.data()) != 0) return {};
  ids.resize(bytes / sizeof(ObjectId));
  return ids;
}

std::string SoundSystem::text(ObjectId device, const PropertyAddress &address) {
  char room[256];
  std::uint32_t bytes = sizeof room;
  return devices.get_property(device, address, &bytes, room) == 0 ? std::string(room, bytes) : std::string();
}

ObjectId SoundSystem::device(const std::string &uid) {
  for (const ObjectId id : all()) {
    if (text(id, kUid) == uid) return id;
  }
  return 0;
}

ObjectId SoundSystem::default_output() {
  ObjectId id = 0;
  return devices.get(kSystemObject, kDefaultOutput, &id) == 0 ? id : 0;
}

double SoundSystem::rate(ObjectId device) {
  double rate = 0.0;
  return devices.get(device, kNominalRate, &rate) == 0 ? rate : 0.0;
}

std::uint32_t SoundSystem::frames(ObjectId device) {
  std::uint32_t frames = 0;
  return devices.get(device, kBufferFrames, &frames) == 0 ? frames : 0;
}

Ears::Ears(AudioDevices &devices, ObjectId object, const PropertyAddress &address)
    : devices_(devices), object_(object), address_(address) {
  EXPECT_EQ(devices_.add_listener(object_, address_, hear, this), 0);
}

Ears::~Ears() {
  devices_.remove_listener(object_, address_, hear, this);
}

DeviceStatus Ears::hear(ObjectId, std::uint32_t, const PropertyAddress *, void *self) {
  ++static_cast<Ears *>(self)->heard;
  return 0;
}

Proc::Proc(AudioDevices &devices, ObjectId device, IoProc proc, void *client) : devices_(devices), device_(device) {
  EXPECT_EQ(devices_.create_io_proc(device_, proc, client, &id_), 0);
}

Proc::~Proc() {
  devices_.stop(device_, id_);
  devices_.destroy_io_proc(device_, id_);
}

DeviceStatus NumberedPlayer::run(ObjectId, const TimeStamp *now, const BufferList *, const TimeStamp *,
                                 BufferList *output, const TimeStamp *output_time, void *self) {
  auto &player = *static_cast<NumberedPlayer *>(self);
  const DeviceBuffer &buffer = output->buffers()[0];
  auto *sample = static_cast<float *>(buffer.data);
  const std::uint32_t frames = buffer.bytes / 4 / buffer.channels;
  std::uint64_t frame = player.next;
  for (std::uint32_t i = 0; i < frames && frame < player.last; ++i, ++frame) {
    for (std::uint32_t c = 0; c < buffer.channels; ++c) *sample++ = numbered_sample(frame, c);
  }
  player.next = frame;
  player.frames = frames;
  player.channels = buffer.channels;
  player.latency = (static_cast<double>(output_time->host_time) - static_cast<double>(now->host_time)) * 1e-9;
  ++player.cycles;
  return 0;
}

DeviceStatus Hearer::run(ObjectId, const TimeStamp *, const BufferList *input, const TimeStamp *, BufferList *,
                         const TimeStamp *, void *self) {
  auto &hearer = *static_cast<Hearer *>(self);
  const DeviceBuffer &buffer = input->buffers()[0];
  const std::span heard(static_cast<const float *>(buffer.data), buffer.bytes / 4);
  const std::size_t count = std::min(heard.size(), hearer.samples_.size() - hearer.count_);
  std::ranges::copy(heard.first(count), hearer.samples_.begin() + static_cast<std::ptrdiff_t>(hearer.count_));
  hearer.count_ += count;
  return 0;
}

}  // namespace auspool::testing
