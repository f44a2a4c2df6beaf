#include "platform/audio_device.h"

#include <gtest/gtest.h>

#include <optional>

#include "platform/audio_device/simulated.h"
#include "support/simulated_devices.h"
#include "support/sound_server.h"
#include "support/watch.h"

namespace auspool::platform {
namespace {

using auspool::testing::channel_of;
using auspool::testing::input_device;
using auspool::testing::kInterleaved;
using auspool::testing::kMono;
using auspool::testing::kPlanar;
using auspool::testing::output_device;
using auspool::testing::SimulatedDevices;

constexpr std::uint32_t kSplit[] = {2, 0, 4};

TEST(AudioDevicesWithoutBackend, GiveAStatusForEverything) {
  ASSERT_EQ(choose_audio_backend(nullptr), 0);
  if (chosen_audio_backend()) GTEST_SKIP() << "this build has a default backend";
  AudioDevices devices;
  std::uint32_t bytes = 4, value = 0;
  IoProcId id = 0;
  EXPECT_EQ(devices.get_property(kSystemObject, kDefaultOutput, &bytes, &value), AUDEVICE_NO_BACKEND);
  EXPECT_EQ(devices.property_size(kSystemObject, kDefaultOutput, &bytes), AUDEVICE_NO_BACKEND);
  EXPECT_EQ(devices.set(kSystemObject, kDefaultOutput, value), AUDEVICE_NO_BACKEND);
  EXPECT_EQ(devices.add_listener(kSystemObject, kDefaultOutput, nullptr, nullptr), AUDEVICE_NO_BACKEND);
  EXPECT_EQ(devices.remove_listener(kSystemObject, kDefaultOutput, nullptr, nullptr), AUDEVICE_NO_BACKEND);
  EXPECT_EQ(devices.create_io_proc(2, nullptr, nullptr, &id), AUDEVICE_NO_BACKEND);
  EXPECT_EQ(devices.destroy_io_proc(2, 1), AUDEVICE_NO_BACKEND);
  EXPECT_EQ(devices.start(2, 1), AUDEVICE_NO_BACKEND);
  EXPECT_EQ(devices.stop(2, 1), AUDEVICE_NO_BACKEND);
  EXPECT_FALSE(devices.can_duck());
}

// ---- Properties ----

class DeviceProperties : public ::testing::Test {
protected:
  template <typename T>
  T get(ObjectId object, const PropertyAddress &address) {
    T value{};
    EXPECT_EQ(devices.get(object, address, &value), 0);
    return value;
  }

  SimulatedDevices script;
  AudioDevices devices;
};

TEST_F(DeviceProperties, AreThoseOfTheDevice) {
  ausim_device description = output_device(kSplit);
  description.output_left = 3;
  description.output_right = 4;
  const ObjectId id = script.add_default_output(description);
  EXPECT_EQ(get<ObjectId>(kSystemObject, kDefaultOutput), id);
  EXPECT_EQ(get<ObjectId>(kSystemObject, kDefaultInput), 0u);
  EXPECT_EQ(get<double>(id, kNominalRate), 44100.0);
  EXPECT_EQ(get<std::uint32_t>(id, kBufferFrames), 512u);
  EXPECT_EQ(get<std::uint32_t>(id, channel_count(kOutput)), 6u);
  EXPECT_EQ(get<std::uint32_t>(id, channel_count(kInput)), 0u);
  const auto pair = get<std::array<std::uint32_t, 2>>(id, stereo_pair(kOutput));
  EXPECT_EQ(pair[0], 3u);
  EXPECT_EQ(pair[1], 4u);
  const auto format = get<StreamFormat>(id, stream_format(kOutput));
  EXPECT_EQ(format.rate, 44100.0);
  EXPECT_EQ(format.format, four_cc("lpcm"));
  EXPECT_EQ(format.channels, 6u);
}

TEST_F(DeviceProperties, ThatItHasNotAreUnknown) {
  const ObjectId id = script.add(output_device(kInterleaved));
  std::uint32_t bytes = 8;
  std::uint64_t room = 0;
  for (const PropertyAddress &address : {stereo_pair(kOutput), stream_format(kInput), data_source(kInput)}) {
    EXPECT_EQ(devices.get_property(id, address, &bytes, &room), AUDEVICE_UNKNOWN_PROPERTY);
    EXPECT_EQ(devices.property_size(id, address, &bytes), AUDEVICE_UNKNOWN_PROPERTY);
    EXPECT_EQ(devices.set(id, address, room), AUDEVICE_UNKNOWN_PROPERTY);
  }
  EXPECT_EQ(devices.get_property(99, kName, &bytes, &room), AUDEVICE_BAD_OBJECT);
}

TEST_F(DeviceProperties, AreCutToTheRoom) {
  const ObjectId id = script.add(output_device(kInterleaved));
  std::uint32_t bytes = 0;
  ASSERT_EQ(devices.property_size(id, kName, &bytes), 0);
  EXPECT_EQ(bytes, 16u);
  char name[9] = {};
  bytes = 8;
  ASSERT_EQ(devices.get_property(id, kName, &bytes, name), 0);
  EXPECT_EQ(bytes, 8u);
  EXPECT_STREQ(name, "Simulate");
}

TEST_F(DeviceProperties, OfAnotherSizeThanAskedForAreRefusedAndLeaveTheValue) {
  const ObjectId id = script.add(output_device(kInterleaved));
  double value = 7;
  EXPECT_EQ(devices.get(id, kBufferFrames, &value), AUDEVICE_BAD_SIZE);
  EXPECT_EQ(value, 7);
  EXPECT_EQ(devices.set(id, kBufferFrames, value), AUDEVICE_BAD_SIZE);
  EXPECT_EQ(devices.set(id, kNominalRate, 1), AUDEVICE_BAD_SIZE);
}

TEST_F(DeviceProperties, CanBeSetWithinBounds) {
  const ObjectId id = script.add(output_device(kInterleaved));
  EXPECT_EQ(devices.set(id, kBufferFrames, 16u), 0);
  EXPECT_EQ(devices.set(id, kBufferFrames, 15u), AUDEVICE_BAD_VALUE);
  EXPECT_EQ(devices.set(id, kBufferFrames, 8193u), AUDEVICE_BAD_VALUE);
  EXPECT_EQ(get<std::uint32_t>(id, kBufferFrames), 16u);
  EXPECT_EQ(devices.set(id, kNominalRate, 0.0), AUDEVICE_BAD_VALUE);
  EXPECT_EQ(devices.set(id, channel_count(kOutput), 4u), AUDEVICE_READ_ONLY);
  EXPECT_EQ(devices.set(kSystemObject, kDefaultOutput, id), AUDEVICE_READ_ONLY);
}

TEST_F(DeviceProperties, KeepTheRateTheSameInAllPlaces) {
  const ObjectId id = script.add(output_device(kInterleaved));
  EXPECT_EQ(devices.set(id, kNominalRate, 96000.0), 0);
  auto format = get<StreamFormat>(id, stream_format(kOutput));
  EXPECT_EQ(format.rate, 96000.0);
  format.rate = 32000;
  EXPECT_EQ(devices.set(id, stream_format(kOutput), format), 0);
  EXPECT_EQ(get<double>(id, kNominalRate), 32000.0);
}

TEST_F(DeviceProperties, FailWithTheStatusThatTheScriptOrders) {
  const ObjectId id = script.add(output_device(kInterleaved));
  script.fail(AUSIM_GET, "nsrt", -42);
  double rate = 0;
  EXPECT_EQ(devices.get(id, kNominalRate, &rate), -42);
  script.fail(AUSIM_GET, "nsrt", 0);
  EXPECT_EQ(devices.get(id, kNominalRate, &rate), 0);
}

// ---- Listeners ----

struct Listener {
  static DeviceStatus hear(ObjectId object, std::uint32_t count, const PropertyAddress *addresses, void *self) {
    auto &listener = *static_cast<Listener *>(self);
    listener.heard += static_cast<int>(count);
    listener.object = object;
    listener.address = addresses[0];
    if (listener.then) listener.then();
    return 0;
  }
  int heard = 0;
  ObjectId object = 0;
  PropertyAddress address{};
  std::function<void()> then;
};

TEST_F(DeviceProperties, AreListenedTo) {
  const ObjectId id = script.add(output_device(kInterleaved));
  Listener listener;
  ASSERT_EQ(devices.add_listener(id, kNominalRate, Listener::hear, &listener), 0);
  ASSERT_EQ(devices.add_listener(id, kNominalRate, Listener::hear, &listener), 0);
  script.set_rate(id, 48000);
  EXPECT_EQ(listener.heard, 1);
  EXPECT_EQ(listener.object, id);
  EXPECT_EQ(listener.address, kNominalRate);
  script.set_rate(id, 48000);
  EXPECT_EQ(listener.heard, 1) << "nothing changed";
  EXPECT_EQ(devices.remove_listener(id, kNominalRate, Listener::hear, &listener), 0);
  script.set_rate(id, 44100);
  EXPECT_EQ(listener.heard, 1);
}

TEST_F(DeviceProperties, ThatArePlayersOwnDoingAreToldAtTheNextTurnOfTheScript) {
  const ObjectId id = script.add(output_device(kInterleaved));
  Listener listener;
  devices.add_listener(id, kBufferFrames, Listener::hear, &listener);
  devices.set(id, kBufferFrames, 64u);
  EXPECT_EQ(listener.heard, 0) << "never inside an operation";
  ausim_run(script, id, 1);
  EXPECT_EQ(listener.heard, 1);
  devices.remove_listener(id, kBufferFrames, Listener::hear, &listener);
}

TEST_F(DeviceProperties, LetAListenerRemoveItselfAndAskAnything) {
  const ObjectId id = script.add(output_device(kInterleaved));
  Listener listener;
  double rate = 0;
  listener.then = [&] {
    EXPECT_EQ(devices.get(id, kNominalRate, &rate), 0);
    EXPECT_EQ(devices.remove_listener(id, kNominalRate, Listener::hear, &listener), 0);
  };
  devices.add_listener(id, kNominalRate, Listener::hear, &listener);
  script.set_rate(id, 48000);
  script.set_rate(id, 32000);
  EXPECT_EQ(listener.heard, 1);
  EXPECT_EQ(rate, 48000.0);
}

// ---- IO ----

struct Proc {
  static DeviceStatus run(ObjectId device, const TimeStamp *now, const BufferList *input, const TimeStamp *input_time,
                          BufferList *output, const TimeStamp *output_time, void *self) {
    auto &proc = *static_cast<Proc *>(self);
    ++proc.runs;
    proc.device = device;
    proc.now = *now;
    proc.input_time = *input_time;
    proc.output_time = *output_time;
    proc.input = input;
    proc.output = output;
    for (std::uint32_t i = 0; output && i < output->count; ++i) {
      auto *const data = static_cast<float *>(output->buffers()[i].data);
      for (std::uint32_t n = 0; n < output->buffers()[i].bytes / 4; ++n) data[n] += proc.value;
    }
    return 0;
  }
  int runs = 0;
  ObjectId device = 0;
  float value = 0.25f;
  TimeStamp now, input_time, output_time;
  const BufferList *input = nullptr;
  BufferList *output = nullptr;
  IoProcId id = 0;
};

class DeviceIo : public DeviceProperties {
protected:
  void start(ObjectId device, Proc &proc) {
    ASSERT_EQ(devices.create_io_proc(device, Proc::run, &proc, &proc.id), 0);
    ASSERT_EQ(devices.start(device, proc.id), 0);
  }
};

TEST_F(DeviceIo, RunsFromStartToStop) {
  const ObjectId id = script.add(output_device(kInterleaved));
  Proc proc;
  ASSERT_EQ(devices.create_io_proc(id, Proc::run, &proc, &proc.id), 0);
  ausim_run(script, id, 2);
  EXPECT_EQ(proc.runs, 0);
  ASSERT_EQ(devices.start(id, proc.id), 0);
  ausim_run(script, id, 3);
  EXPECT_EQ(proc.runs, 3);
  EXPECT_EQ(proc.device, id);
  ASSERT_EQ(devices.stop(id, proc.id), 0);
  ausim_run(script, id, 2);
  EXPECT_EQ(proc.runs, 3);
  EXPECT_EQ(devices.destroy_io_proc(id, proc.id), 0);
  EXPECT_EQ(devices.destroy_io_proc(id, proc.id), AUDEVICE_BAD_PROC);
  EXPECT_EQ(devices.start(id, proc.id), AUDEVICE_BAD_PROC);
  EXPECT_EQ(devices.stop(99, proc.id), AUDEVICE_BAD_OBJECT);
}

TEST_F(DeviceIo, BringsBuffersAsTheDeviceIsLaidOut) {
  ausim_device description = output_device(kSplit);
  description.input_buffers = kPlanar;
  description.input_buffer_count = 2;
  description.buffer_frames = 64;
  const ObjectId id = script.add(description);
  Proc proc;
  start(id, proc);
  ausim_run(script, id, 1);
  ASSERT_EQ(proc.output->count, 3u);
  EXPECT_EQ(proc.output->buffers()[0].channels, 2u);
  EXPECT_EQ(proc.output->buffers()[0].bytes, 64 * 2 * 4u);
  EXPECT_EQ(proc.output->buffers()[1].bytes, 0u);
  EXPECT_EQ(proc.output->buffers()[2].channels, 4u);
  EXPECT_EQ(proc.output->padding, 0u) << "lists are compared byte by byte";
  ASSERT_EQ(proc.input->count, 2u);
  EXPECT_EQ(proc.input->padding, 0u);
  EXPECT_EQ(proc.input->buffers()[1].channels, 1u);
  EXPECT_EQ(proc.input->buffers()[1].bytes, 64 * 4u);
  const void *const data = proc.output->buffers()[2].data;
  ausim_run(script, id, 1);
  EXPECT_EQ(proc.output->buffers()[2].data, data);
  devices.set(id, kBufferFrames, 32u);
  ausim_run(script, id, 1);
  EXPECT_EQ(proc.output->buffers()[2].bytes, 32 * 4 * 4u);
}

TEST_F(DeviceIo, HasNoListForADirectionThatIsNotThere) {
  const ObjectId id = script.add(input_device(kMono));
  Proc proc;
  start(id, proc);
  ausim_run(script, id, 1);
  EXPECT_EQ(proc.output, nullptr);
  EXPECT_NE(proc.input, nullptr);
}

TEST_F(DeviceIo, MixesWhatProcsLeave) {
  const ObjectId id = script.add(output_device(kInterleaved));
  Proc first, second;
  second.value = 0.5f;
  start(id, first);
  start(id, second);
  std::vector<float> heard;
  script.on_output = [&](auto buffers, auto) { heard = channel_of(buffers[0], 1); };
  ausim_run(script, id, 2);
  EXPECT_EQ(heard, std::vector<float>(512, 0.75f));
}

TEST_F(DeviceIo, HearsWhatTheScriptPutsIn) {
  const ObjectId id = script.add(input_device(kInterleaved));
  Proc proc;
  start(id, proc);
  script.on_input = [&](auto buffers, auto) { static_cast<float *>(buffers[0].data)[3] = 0.125f; };
  ausim_run(script, id, 1);
  EXPECT_EQ(static_cast<const float *>(proc.input->buffers()[0].data)[3], 0.125f);
}

TEST_F(DeviceIo, StampsWithTheClockAndTheLatency) {
  ausim_device description = output_device(kInterleaved);
  description.rate = 50000;
  description.buffer_frames = 500;
  description.output_latency = 250;
  description.input_latency = 50;
  const ObjectId id = script.add(description);
  Proc proc;
  start(id, proc);
  const std::uint64_t begin = ausim_time(script);
  ausim_run(script, id, 3);
  EXPECT_EQ(proc.now.host_time, begin + 20'000'000);
  EXPECT_EQ(proc.now.sample_time, 1000.0);
  EXPECT_EQ(proc.output_time.host_time, begin + 35'000'000);
  EXPECT_EQ(proc.output_time.sample_time, 1750.0);
  EXPECT_EQ(proc.input_time.host_time, begin + 9'000'000);
  EXPECT_TRUE(proc.now.mFlags & TimeStamp::kHostTimeValid);
  EXPECT_EQ(ausim_time(script), begin + 30'000'000);
  ausim_set_stamps(script, 0);
  ausim_run(script, id, 1);
  EXPECT_FALSE(proc.now.mFlags & TimeStamp::kHostTimeValid);
  EXPECT_FALSE(proc.output_time.mFlags & TimeStamp::kHostTimeValid);
}

TEST_F(DeviceIo, KeepsTimeAtARateThatIsNoWholeNumberOfNanoseconds) {
  const ObjectId id = script.add(output_device(kInterleaved));
  Proc proc;
  start(id, proc);
  const std::uint64_t begin = ausim_time(script);
  ausim_run(script, id, 441 * 4);
  const double seconds = static_cast<double>(ausim_time(script) - begin) * 1e-9;
  EXPECT_NEAR(seconds, 441 * 4 * 512 / 44100.0, 2e-9);
}

TEST_F(DeviceIo, OfManyDevicesRunsInTheOrderOfTheClock) {
  ausim_device fast = output_device(kInterleaved), slow = fast;
  fast.rate = slow.rate = 50000;
  fast.buffer_frames = 500;
  slow.buffer_frames = 1250;
  Proc first, second;
  start(script.add(fast), first);
  start(script.add(slow), second);
  const std::uint64_t begin = ausim_time(script);
  ausim_advance(script, 99'999'999);
  EXPECT_EQ(first.runs, 10);
  EXPECT_EQ(second.runs, 4);
  EXPECT_EQ(second.now.host_time, begin + 75'000'000);
  EXPECT_EQ(ausim_time(script), begin + 99'999'999);
}

TEST_F(DeviceIo, EndsWhenTheDeviceGoes) {
  const ObjectId id = script.add_default_output(output_device(kInterleaved));
  Proc proc;
  start(id, proc);
  Listener defaults, list, rate;
  devices.add_listener(kSystemObject, kDefaultOutput, Listener::hear, &defaults);
  devices.add_listener(kSystemObject, kDevices, Listener::hear, &list);
  devices.add_listener(id, kNominalRate, Listener::hear, &rate);
  EXPECT_EQ(ausim_remove_device(script, id), 0);
  EXPECT_EQ(defaults.heard, 1);
  EXPECT_EQ(list.heard, 1);
  EXPECT_EQ(get<ObjectId>(kSystemObject, kDefaultOutput), 0u);
  EXPECT_EQ(ausim_run(script, id, 1), AUDEVICE_BAD_OBJECT);
  EXPECT_EQ(proc.runs, 0);
  EXPECT_EQ(devices.stop(id, proc.id), AUDEVICE_BAD_OBJECT);
  EXPECT_EQ(devices.destroy_io_proc(id, proc.id), AUDEVICE_BAD_OBJECT);
  EXPECT_EQ(devices.remove_listener(id, kNominalRate, Listener::hear, &rate), AUDEVICE_BAD_OBJECT);
  EXPECT_EQ(ausim_remove_device(script, id), AUDEVICE_BAD_OBJECT);
  EXPECT_NE(script.add(output_device(kInterleaved)), id);
  devices.remove_listener(kSystemObject, kDefaultOutput, Listener::hear, &defaults);
  devices.remove_listener(kSystemObject, kDevices, Listener::hear, &list);
}

TEST_F(DeviceIo, CanBeDucked) {
  const ObjectId id = script.add(output_device(kInterleaved));
  EXPECT_TRUE(devices.can_duck());
  EXPECT_EQ(devices.duck(id, 0.5f, 0), 0);
  EXPECT_EQ(script.take_operations(AUSIM_DUCK).at(0).as<float>(), 0.5f);
  ausim_set_ducking(script, 0);
  EXPECT_FALSE(devices.can_duck());
}

TEST(SimulatedScript, IsTheOnlyOne) {
  const SimulatedDevices devices;
  EXPECT_EQ(ausim_create(), nullptr);
  ausim_destroy(nullptr);
}

// The listener is called while the devices that were there make way.
TEST(SimulatedScript, IsTheOnlyOneFromTheMomentWhenItBegins) {
  ASSERT_EQ(choose_audio_backend("simulated"), 0);
  {
    AudioDevices user;
    bool heard = false;
    const auto listener = [](ObjectId, std::uint32_t, const PropertyAddress *, void *told) -> DeviceStatus {
      *static_cast<bool *>(told) = true;
      ausim *const second = ausim_create();
      EXPECT_EQ(second, nullptr);
      ausim_destroy(second);
      return 0;
    };
    ASSERT_EQ(user.add_listener(kSystemObject, kDevices, listener, &heard), 0);
    ausim *const first = ausim_create();
    EXPECT_NE(first, nullptr);
    EXPECT_TRUE(heard);
    user.remove_listener(kSystemObject, kDevices, listener, &heard);
    ausim_destroy(first);
  }
  EXPECT_EQ(choose_audio_backend(nullptr), 0);
}

// For those who use the backend without one.
TEST(SimulatedScript, ThatCannotBeginLeavesTheClockRunning) {
  ASSERT_EQ(choose_audio_backend("simulated"), 0);
  {
    AudioDevices user;
    auto &backend = dynamic_cast<SimulatedBackend &>(user.backend());
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
      const auto failer = std::make_optional<auspool::testing::AllocationFailer>(nth);
      ausim *const sim = ausim_create();
      failed = failer->failed();
      EXPECT_EQ(sim == nullptr, failed);
      if (!sim) {
        const std::uint64_t before = backend.time();
        EXPECT_TRUE(auspool::testing::eventually([&] { return backend.time() > before; }));
      }
      ausim_destroy(sim);
    }
  }
  EXPECT_EQ(choose_audio_backend(nullptr), 0);
}

TEST(SimulatedScript, GivesNoNumberOfADeviceTwice) {
  std::uint32_t first = 0;
  {
    SimulatedDevices devices;
    first = devices.add(output_device(kInterleaved));
  }
  SimulatedDevices devices;
  EXPECT_GT(devices.add(output_device(kInterleaved)), first);
}

TEST(SimulatedScript, NeedsItsBackendToBeChosen) {
  ASSERT_EQ(choose_audio_backend(nullptr), 0);
  EXPECT_EQ(ausim_create(), nullptr);
}

TEST(SimulatedScript, SurvivesAFailedAllocation) {
  ASSERT_EQ(choose_audio_backend("simulated"), 0);
  EXPECT_GT(auspool::testing::fail_each_allocation([] {
              ausim *const sim = ausim_create();
              ausim_destroy(sim);
              return sim != nullptr;
            }),
            0);
  EXPECT_EQ(choose_audio_backend(nullptr), 0);
}

}  // namespace
}  // namespace auspool::platform
