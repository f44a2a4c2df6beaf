// The backend "pipewire" in use, and IO procs that play and hear the numbered signal.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <string>
#include <vector>

#include "platform/audio_device.h"
#include "support/sound_server.h"

namespace auspool::testing {

// Chooses the backend and opens it, to the end of the scope.
struct SoundSystem {
  struct Choice {
    Choice() : status(platform::choose_audio_backend("pipewire")) {}
    ~Choice() { platform::choose_audio_backend(nullptr); }
    platform::DeviceStatus status;
  } choice;
  platform::AudioDevices devices;

  std::vector<platform::ObjectId> all();
  platform::ObjectId device(const std::string &uid);  // 0 if there is none
  std::string text(platform::ObjectId device, const platform::PropertyAddress &address);
  platform::ObjectId default_output();
  double rate(platform::ObjectId device);           // 0 if it cannot be read
  std::uint32_t frames(platform::ObjectId device);  // the same
};

// A server and the backend on it. Skips where the server's programs are missing.
class SoundTest : public ::testing::Test {
protected:
  void SetUp() override;

  platform::AudioDevices &devices() { return system->devices; }

  std::optional<SoundServer> server;
  std::optional<SoundSystem> system;
};

// Counts how often a property was said to change.
class Ears {
public:
  Ears(platform::AudioDevices &devices, platform::ObjectId object, const platform::PropertyAddress &address);
  ~Ears();
  Ears(const Ears &) = delete;
  Ears &operator=(const Ears &) = delete;

  std::atomic<int> heard = 0;

private:
  static platform::DeviceStatus hear(platform::ObjectId, std::uint32_t, const platform::PropertyAddress *, void *self);

  platform::AudioDevices &devices_;
  const platform::ObjectId object_;
  const platform::PropertyAddress address_;
};

// An IO proc on a device, which ends with the scope.
class Proc {
public:
  Proc(platform::AudioDevices &devices, platform::ObjectId device, platform::IoProc proc, void *client);
  ~Proc();
  Proc(const Proc &) = delete;
  Proc &operator=(const Proc &) = delete;

  platform::DeviceStatus start() { return devices_.start(device_, id_); }
  platform::DeviceStatus stop() { return devices_.stop(device_, id_); }
  platform::IoProcId id() const { return id_; }

private:
  platform::AudioDevices &devices_;
  const platform::ObjectId device_;
  platform::IoProcId id_ = 0;
};

// Plays the numbered signal, from its beginning or from where another ended.
class NumberedPlayer {
public:
  NumberedPlayer(platform::AudioDevices &devices, platform::ObjectId device, std::uint64_t first = 0)
      : next(first), proc_(devices, device, run, this) {}

  platform::DeviceStatus start() { return proc_.start(); }
  platform::DeviceStatus stop() { return proc_.stop(); }

  std::atomic<std::uint64_t> next;
  std::atomic<std::uint64_t> last = UINT64_MAX;         // silence from there on
  std::atomic<std::uint32_t> frames = 0, channels = 0;  // of the last cycle
  std::atomic<int> cycles = 0;
  std::atomic<double> latency = 0.0;  // seconds, of the last cycle

private:
  static platform::DeviceStatus run(platform::ObjectId, const platform::TimeStamp *now, const platform::BufferList *,
                                    const platform::TimeStamp *, platform::BufferList *output,
                                    const platform::TimeStamp *output_time, void *self);

  Proc proc_;
};

// Keeps what a source brings.
class Hearer {
public:
  Hearer(platform::AudioDevices &devices, platform::ObjectId device, std::size_t room_samples)
      : samples_(room_samples), proc_(devices, device, run, this) {}

  platform::DeviceStatus start() { return proc_.start(); }
  platform::DeviceStatus stop() { return proc_.stop(); }
  std::size_t count() const { return count_; }
  std::vector<float> samples() const {
    return {samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(count_)};
  }

private:
  static platform::DeviceStatus run(platform::ObjectId, const platform::TimeStamp *, const platform::BufferList *input,
                                    const platform::TimeStamp *, platform::BufferList *, const platform::TimeStamp *,
                                    void *self);

  std::vector<float> samples_;
  std::atomic<std::size_t> count_ = 0;
  Proc proc_;
};

}  // namespace auspool::testing
