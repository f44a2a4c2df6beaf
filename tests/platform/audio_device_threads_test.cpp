#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/audio_device.h"
#include "support/simulated_devices.h"

namespace auspool::platform {
namespace {

struct Counter {
  static DeviceStatus run(ObjectId, const TimeStamp *, const BufferList *input, const TimeStamp *, BufferList *output,
                          const TimeStamp *, void *self) {
    auto &counter = *static_cast<Counter *>(self);
    if (input) counter.note(static_cast<const float *>(input->buffers()[0].data), input->buffers()[0].bytes / 8);
    if (output) ++counter.outputs;
    return 0;
  }
  void note(const float *frames, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i, ++seen) {
      const float value = static_cast<float>(static_cast<int>(seen % 32768) - 16384) / 32768.0f;
      wrong += frames[2 * i] != value || frames[2 * i + 1] != -value;
    }
    ++inputs;
  }
  std::atomic<int> inputs = 0, outputs = 0, wrong = 0;
  std::uint64_t seen = 0;
};

void wait_for(const std::atomic<int> &count, int least) {
  while (count < least) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

TEST(SimulatedDefaultDevices, RunByTheClockWithoutAScript) {
  ASSERT_EQ(choose_audio_backend("simulated"), 0);
  {
    AudioDevices devices;
    Counter counter;
    for (const PropertyAddress &address : {kDefaultInput, kDefaultOutput}) {
      ObjectId device = 0;
      IoProcId id = 0;
      ASSERT_EQ(devices.get(kSystemObject, address, &device), 0);
      ASSERT_EQ(devices.create_io_proc(device, Counter::run, &counter, &id), 0);
      ASSERT_EQ(devices.start(device, id), 0);
      wait_for(address == kDefaultInput ? counter.inputs : counter.outputs, 3);
      EXPECT_EQ(devices.stop(device, id), 0);
      EXPECT_EQ(devices.destroy_io_proc(device, id), 0);
    }
    EXPECT_EQ(counter.wrong, 0);
  }
  EXPECT_EQ(choose_audio_backend(nullptr), 0);
}

struct Ears {
  static DeviceStatus hear(ObjectId, std::uint32_t, const PropertyAddress *, void *self) {
    auto &ears = *static_cast<Ears *>(self);
    EXPECT_TRUE(ears.alive);
    ++ears.heard;
    return 0;
  }
  ~Ears() { alive = false; }
  std::atomic<bool> alive = true;
  std::atomic<int> heard = 0;
};

// What is removed is never called again: the client may be gone at once.
TEST(SimulatedDeviceThreads, ListenersAndProcsThatWereTakenAwayAreNotCalled) {
  auspool::testing::SimulatedDevices script;
  const ObjectId id = script.add_default_output(auspool::testing::output_device(auspool::testing::kInterleaved));
  ausim_set_realtime(script, 1);
  std::atomic<bool> done = false;
  std::thread changer([&] {
    for (int i = 0; !done; ++i) {
      script.set_rate(id, i % 2 ? 44100.0 : 48000.0);
      std::this_thread::yield();
    }
  });
  AudioDevices devices;
  int heard = 0;
  for (int i = 0; i < 300 || (heard == 0 && i < 100000); ++i) {
    Ears ears;
    Counter counter;
    IoProcId proc = 0;
    ASSERT_EQ(devices.add_listener(id, kNominalRate, Ears::hear, &ears), 0);
    ASSERT_EQ(devices.create_io_proc(id, Counter::run, &counter, &proc), 0);
    ASSERT_EQ(devices.start(id, proc), 0);
    std::this_thread::yield();
    EXPECT_EQ(devices.stop(id, proc), 0);
    EXPECT_EQ(devices.destroy_io_proc(id, proc), 0);
    EXPECT_EQ(devices.remove_listener(id, kNominalRate, Ears::hear, &ears), 0);
    heard += ears.heard;
  }
  done = true;
  changer.join();
  EXPECT_GT(heard, 0);
}

// A cycle that lasts until it is let go.
struct LongCycle {
  static DeviceStatus run(ObjectId, const TimeStamp *, const BufferList *, const TimeStamp *, BufferList *,
                          const TimeStamp *, void *self) {
    auto &cycle = *static_cast<LongCycle *>(self);
    cycle.begun = 1;
    wait_for(cycle.may_end, 1);
    cycle.ended = true;
    return 0;
  }
  std::atomic<int> begun = 0, may_end = 0;
  std::atomic<bool> ended = false;
};

// The client may be gone after either.
TEST(SimulatedDeviceThreads, StopAndDestroyWaitForTheLastCycleOfADeviceThatGoesAway) {
  for (const auto end : {&AudioDevices::stop, &AudioDevices::destroy_io_proc}) {
    auspool::testing::SimulatedDevices script;
    const ObjectId id = script.add_default_output(auspool::testing::output_device(auspool::testing::kInterleaved));
    ausim_set_realtime(script, 1);
    AudioDevices devices;
    LongCycle cycle;
    IoProcId proc = 0;
    ASSERT_EQ(devices.create_io_proc(id, LongCycle::run, &cycle, &proc), 0);
    ASSERT_EQ(devices.start(id, proc), 0);
    wait_for(cycle.begun, 1);
    std::thread remover([&] { EXPECT_EQ(ausim_remove_device(script, id), 0); });
    double rate = 0;
    while (devices.get(id, kNominalRate, &rate) == 0) std::this_thread::yield();
    std::thread ender([&] {
      EXPECT_EQ((devices.*end)(id, proc), AUDEVICE_BAD_OBJECT);
      EXPECT_TRUE(cycle.ended);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // one that does not wait is back by then
    cycle.may_end = 1;
    ender.join();
    remover.join();
  }
}

}  // namespace
}  // namespace auspool::platform
