// Playing and capturing through a private sound server.
#include <gtest/gtest.h>

#include <atomic>
#include <optional>

#include "support/sound_system.h"
#include "support/watch.h"

namespace auspool::platform {
namespace {

using testing::eventually;
using testing::Hearer;
using testing::MonitorRecorder;
using testing::numbered_sample;
using testing::NumberedPlayer;
using testing::Proc;
using testing::RealtimeGuard;
using testing::SoundTest;
using testing::Stretch;
using testing::stretches_of;

class PipeWireIo : public SoundTest {};

TEST_F(PipeWireIo, WhatIsPlayedArrivesBitExactAtTheMonitor) {
  NumberedPlayer player(devices(), system->device("main"));
  const MonitorRecorder recorder(*server, "main", "FL,FR");
  ASSERT_EQ(player.start(), 0);
  testing::expect_exact([&] { return recorder.samples(); }, 2, 12000);
}

TEST_F(PipeWireIo, EachOfFourChannelsArrivesWhereItBelongs) {
  NumberedPlayer player(devices(), system->device("quad"));
  const MonitorRecorder recorder(*server, "quad", "FL,FR,RL,RR");
  ASSERT_EQ(player.start(), 0);
  testing::expect_exact([&] { return recorder.samples(); }, 4, 12000);
  EXPECT_EQ(player.channels, 4u);
}

TEST_F(PipeWireIo, CapturingIsBitExact) {
  std::vector<float> signal;
  for (std::uint64_t i = 0; i < 2 * 480000; ++i) {
    signal.push_back(numbered_sample(i / 2, static_cast<std::uint32_t>(i % 2)));
  }
  testing::write_float_file(server->file("signal.wav"), signal, 2, 48000);
  const testing::Background feeder({"pw-play", "--target", "0", "--latency", "2048", server->file("signal.wav")},
                                   server->file("play.log"));
  ASSERT_TRUE(eventually([] {
    return testing::run("pw-link pw-play:output_FL line:input_FL && pw-link pw-play:output_FR line:input_FR").status ==
           0;
  }));
  Hearer hearer(devices(), system->device("line"), 2 * 480000);
  ASSERT_EQ(hearer.start(), 0);
  testing::expect_exact([&] { return hearer.samples(); }, 2, 12000);
}

TEST_F(PipeWireIo, SeveralProcsOnADeviceAreMixed) {
  const auto constant = [](ObjectId, const TimeStamp *, const BufferList *, const TimeStamp *, BufferList *output,
                           const TimeStamp *, void *value) -> DeviceStatus {
    const DeviceBuffer &buffer = output->buffers()[0];
    std::fill_n(static_cast<float *>(buffer.data), buffer.bytes / 4, *static_cast<float *>(value));
    return 0;
  };
  const ObjectId main = system->device("main");
  float one = 0.25f, other = 0.125f;
  Proc first(devices(), main, constant, &one), second(devices(), main, constant, &other);
  const MonitorRecorder recorder(*server, "main", "FL,FR");
  ASSERT_EQ(first.start(), 0);
  ASSERT_EQ(second.start(), 0);
  EXPECT_TRUE(eventually([&] {
    const std::vector<float> samples = recorder.samples();
    return !samples.empty() && samples.back() == 0.375f;
  }));
  ASSERT_EQ(first.stop(), 0);
  EXPECT_TRUE(eventually([&] { return recorder.samples().back() == 0.125f; }));
}

TEST_F(PipeWireIo, ProcsAreKnownByTheirNumberAndDevice) {
  const ObjectId main = system->device("main"), other = system->device("other");
  NumberedPlayer player(devices(), main);
  IoProcId id = 0;
  EXPECT_EQ(devices().start(main, 4711), AUDEVICE_BAD_PROC);
  EXPECT_EQ(devices().stop(main, 4711), AUDEVICE_BAD_PROC);
  EXPECT_EQ(devices().destroy_io_proc(other, 4711), AUDEVICE_BAD_PROC);
  EXPECT_EQ(devices().create_io_proc(4711, nullptr, nullptr, &id), AUDEVICE_BAD_OBJECT);
  EXPECT_EQ(devices().start(4711, 1), AUDEVICE_BAD_OBJECT);
  EXPECT_EQ(player.stop(), 0);
  EXPECT_EQ(player.start(), 0);
  EXPECT_EQ(player.start(), 0);
  EXPECT_EQ(player.stop(), 0);
}

TEST_F(PipeWireIo, AProcThatWasStoppedIsNotCalledUntilItIsStartedAgain) {
  NumberedPlayer player(devices(), system->device("main"));
  for (int i = 0; i < 3; ++i) {
    const int before = player.cycles;
    ASSERT_EQ(player.start(), 0);
    ASSERT_TRUE(eventually([&] { return player.cycles > before + 3; }));
    ASSERT_EQ(player.stop(), 0);
    const int after = player.cycles;
    usleep(50000);
    EXPECT_EQ(player.cycles, after);
  }
}

// Everything between two calls of a proc: our part of the real-time thread's work.
TEST_F(PipeWireIo, TheRealTimeThreadNeitherAllocatesNorLocksNorBlocks) {
  struct Guarded {
    static DeviceStatus run(ObjectId, const TimeStamp *, const BufferList *, const TimeStamp *, BufferList *,
                            const TimeStamp *, void *self) {
      auto &guarded = *static_cast<Guarded *>(self);
      guarded.guard.reset();
      if (++guarded.calls < 50) guarded.guard.emplace();
      return 0;
    }
    std::optional<RealtimeGuard> guard;
    std::atomic<int> calls = 0;
  };
  for (const char *const device : {"main", "line"}) {
    Guarded guarded;
    ASSERT_EQ(devices().set(system->device(device), kBufferFrames, 256u), 0);
    Proc proc(devices(), system->device(device), Guarded::run, &guarded);
    ASSERT_EQ(proc.start(), 0);
    ASSERT_TRUE(eventually([&] { return guarded.calls >= 50; }));
  }
}

}  // namespace
}  // namespace auspool::platform
