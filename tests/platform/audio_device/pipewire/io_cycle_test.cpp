#include "platform/audio_device/pipewire/io_cycle.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "support/watch.h"

namespace auspool::platform {
namespace {

using testing::RealtimeGuard;
using testing::run_without_system_calls;

// What a proc saw; it plays a count, or adds up what it hears.
struct Probe {
  static DeviceStatus run(ObjectId device, const TimeStamp *now, const BufferList *input, const TimeStamp *input_time,
                          BufferList *output, const TimeStamp *output_time, void *self) {
    auto &probe = *static_cast<Probe *>(self);
    const BufferList *const list = input ? input : output;
    const DeviceBuffer &buffer = list->buffers()[0];
    auto *const samples = static_cast<float *>(buffer.data);
    probe.device = device;
    probe.list = list;
    probe.data = samples;
    probe.channels = buffer.channels;
    for (std::uint32_t i = 0; i < buffer.bytes / 4; ++i) {
      probe.silent &= output == nullptr || samples[i] == 0.0f;
      if (output) {
        samples[i] = ++probe.count;
      } else {
        probe.right &= samples[i] == ++probe.count;
      }
    }
    probe.now = *now;
    probe.other = input ? *input_time : *output_time;
    probe.unused = input ? *output_time : *input_time;
    if (probe.calls < 8) probe.frames[probe.calls] = buffer.bytes / 4 / buffer.channels;
    ++probe.calls;
    return 0;
  }

  ObjectId device = 0;
  const BufferList *list = nullptr;
  const void *data = nullptr;
  std::uint32_t channels = 0;
  float count = 0.0f;
  bool silent = true, right = true;
  TimeStamp now, other, unused;
  std::uint32_t frames[8] = {};
  std::size_t calls = 0;
};

constexpr CycleMoment kMoment = {5000000000, 0.010, 48000.0};

TEST(IoCycle, PlaysWhatTheProcLeavesInASilentBuffer) {
  Probe probe;
  IoCycle cycle(7, 3, Probe::run, &probe);
  std::vector<float> samples(3 * 256, -1.0f), expected(3 * 256);
  std::iota(expected.begin(), expected.end(), 1.0f);
  cycle.play(samples.data(), 256, kMoment);
  EXPECT_EQ(samples, expected);
  EXPECT_TRUE(probe.silent);
  EXPECT_EQ(probe.device, 7u);
  EXPECT_EQ(probe.channels, 3u);
  cycle.play(samples.data(), 256, kMoment);
  EXPECT_TRUE(probe.silent) << "the last cycle's audio is gone";
}

TEST(IoCycle, HandsOverWhatIsCaptured) {
  Probe probe;
  IoCycle cycle(7, 2, Probe::run, &probe);
  std::vector<float> samples(2 * 300);
  std::iota(samples.begin(), samples.end(), 1.0f);
  cycle.capture(samples.data(), 300, kMoment);
  EXPECT_TRUE(probe.right);
  EXPECT_EQ(probe.count, 600.0f);
}

TEST(IoCycle, KeepsListAndDataWhereTheyAre) {
  Probe probe;
  IoCycle cycle(7, 2, Probe::run, &probe);
  std::vector<float> one(512), other(512);
  cycle.play(one.data(), 256, kMoment);
  const void *const list = probe.list, *const data = probe.data;
  cycle.play(other.data(), 256, kMoment);
  EXPECT_EQ(probe.list, list);
  EXPECT_EQ(probe.data, data);
  EXPECT_EQ(probe.list->padding, 0u) << "lists are compared byte by byte";
}

TEST(IoCycle, CallsTheProcAgainForCyclesLongerThanItsBuffer) {
  Probe probe;
  IoCycle cycle(7, 2, Probe::run, &probe);
  const std::uint32_t frames = 2 * kMostCycleFrames + 5;
  std::vector<float> samples(2 * frames), expected(2 * frames);
  std::iota(expected.begin(), expected.end(), 1.0f);
  cycle.play(samples.data(), frames, {5000000000, 0.0, 8192.0});
  EXPECT_EQ(samples, expected);
  ASSERT_EQ(probe.calls, 3u);
  EXPECT_EQ(probe.frames[0], kMostCycleFrames);
  EXPECT_EQ(probe.frames[2], 5u);
  EXPECT_EQ(probe.now.sample_time, 2 * kMostCycleFrames);
  EXPECT_EQ(probe.now.host_time, 7000000000u) << "two buffers of one second later";
}

TEST(IoCycle, DoesNothingWithoutFrames) {
  Probe probe;
  IoCycle cycle(7, 2, Probe::run, &probe);
  cycle.play(nullptr, 0, kMoment);
  cycle.capture(nullptr, 0, kMoment);
  EXPECT_EQ(probe.calls, 0u);
}

TEST(IoCycle, StampsWhenOutputWillBeHeard) {
  Probe probe;
  IoCycle cycle(7, 1, Probe::run, &probe);
  std::vector<float> samples(100);
  cycle.play(samples.data(), 100, kMoment);
  EXPECT_EQ(probe.now.sample_time, 0.0);
  cycle.play(samples.data(), 100, kMoment);
  EXPECT_EQ(probe.now.sample_time, 100.0);
  EXPECT_EQ(probe.now.host_time, 5000000000u);
  EXPECT_EQ(probe.now.mFlags, TimeStamp::kSampleTimeValid | TimeStamp::kHostTimeValid);
  EXPECT_EQ(probe.other.sample_time, 100.0 + 480.0);
  EXPECT_EQ(probe.other.host_time, 5010000000u);
  EXPECT_EQ(probe.unused.mFlags, 0u) << "of a direction that is not there";
}

TEST(IoCycle, StampsWhenInputWasPickedUp) {
  Probe probe;
  IoCycle cycle(7, 1, Probe::run, &probe);
  const std::vector<float> samples(100);
  cycle.capture(samples.data(), 100, kMoment);
  EXPECT_EQ(probe.other.sample_time, -480.0);
  EXPECT_EQ(probe.other.host_time, 4990000000u);
  EXPECT_EQ(probe.unused.mFlags, 0u);
}

TEST(IoCycle, SaysWhenTheGraphHasNoTime) {
  Probe probe;
  IoCycle cycle(7, 1, Probe::run, &probe);
  std::vector<float> samples(100);
  cycle.play(samples.data(), 100, {});
  EXPECT_EQ(probe.now.mFlags, TimeStamp::kSampleTimeValid);
  EXPECT_EQ(probe.other.mFlags, TimeStamp::kSampleTimeValid);
  EXPECT_EQ(probe.other.sample_time, 0.0);
}

TEST(IoCycle, NeitherAllocatesNorLocksNorCallsTheSystem) {
  Probe probe;
  IoCycle cycle(7, 2, Probe::run, &probe);
  std::vector<float> samples(2 * 20000);
  const auto body = [&] {
    cycle.play(samples.data(), 20000, kMoment);
    cycle.capture(samples.data(), 256, kMoment);
  };
  {
    const RealtimeGuard guard;
    body();
  }
  if (!run_without_system_calls(body)) GTEST_SKIP() << "system calls cannot be refused here";
}

}  // namespace
}  // namespace auspool::platform
