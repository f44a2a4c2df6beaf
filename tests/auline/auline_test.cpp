#include "auspool/auline.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <optional>
#include <thread>

#include "auline/auline_record.h"
#include "support/signals.h"
#include "support/simulated_devices.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

class Line : public ::testing::Test {
protected:
  ~Line() override { auline_destroy(line); }

  static void hear(void *self, const au_channel_pair *channels, std::int32_t frames, float rate) {
    auto &test = *static_cast<Line *>(self);
    ++test.calls;
    test.rate = rate;
    test.pair = *channels;
    test.counts.push_back(frames);
    test.left.insert(test.left.end(), channels->left, channels->left + frames);
    test.right.insert(test.right.end(), channels->right, channels->right + frames);
  }

  void set_options(const std::function<void(AuLineOptions &)> &change) {
    AuLineOptions options = auline_options(line);
    change(options);
    auline_set_options(line, &options);
  }
  std::int32_t start() { return auline_start(line, hear, this); }

  // A default input of so many channels in each buffer whose sample is its channel's number and its frame's.
  std::uint32_t add_input(std::span<const std::uint32_t> buffers,
                          const std::function<void(ausim_device &)> &change = nullptr) {
    ausim_device device = input_device(buffers);
    if (change) change(device);
    devices.on_input = [](std::span<const ausim_buffer> all, std::uint32_t) {
      float channel = 0;
      for (const ausim_buffer &buffer : all) {
        auto *const data = static_cast<float *>(buffer.data);
        for (std::uint32_t i = 0; i < buffer.bytes / 4; ++i) {
          data[i] = channel + 1.0f + static_cast<float>(i % buffer.channels) +
                    static_cast<float>(i / buffer.channels) / 16384.0f;
        }
        channel += static_cast<float>(buffer.channels);
      }
    };
    return devices.add_default_input(device);
  }
  static Samples channel(int number, int frames = 512) {
    Samples samples;
    for (int i = 0; i < frames; ++i) samples.push_back(static_cast<float>(number) + static_cast<float>(i) / 16384.0f);
    return samples;
  }

public:  // for callbacks
  SimulatedDevices devices;
  auline *line = auline_create();
  int calls = 0;
  float rate = 0;
  au_channel_pair pair = {};
  std::vector<int> counts;
  Samples left, right;
};

TEST_F(Line, BeginsStoppedWithAllOptions0) {
  const AuLineOptions options = auline_options(line);
  EXPECT_EQ(options.device, 0u);
  EXPECT_EQ(options.data_source, 0u);
  EXPECT_EQ(options.sample_rate, 0.0f);
  EXPECT_EQ(options.left_channel, 0);
  EXPECT_EQ(options.right_channel, 0);
  EXPECT_EQ(options.buffer_frames, 0u);
  EXPECT_EQ(auline_is_active(line), 0);
  auline_stop(line);
  auline_destroy(nullptr);
}

TEST_F(Line, SurvivesAFailedAllocation) {
  devices.stop_noting();
  EXPECT_GE(fail_each_allocation([] {
              auline *const made = auline_create();
              auline_destroy(made);
              return made != nullptr;
            }),
            1);
}

TEST_F(Line, ANegativeChannelResetsBoth) {
  set_options([](AuLineOptions &options) {
    options.left_channel = 2;
    options.right_channel = -1;
  });
  EXPECT_EQ(auline_options(line).left_channel, 0);
  EXPECT_EQ(auline_options(line).right_channel, 0);
}

TEST_F(Line, WithoutACallbackIsMinus1AndStaysStopped) {
  add_input(kInterleaved);
  EXPECT_EQ(auline_start(line, nullptr, this), -1);
  EXPECT_EQ(auline_is_active(line), 0);
}

TEST_F(Line, ANullCallbackStopsALineThatRuns) {
  add_input(kInterleaved);
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(auline_start(line, nullptr, this), -1);
  EXPECT_EQ(auline_is_active(line), 0);
  EXPECT_EQ(line->callback, nullptr);
}

// ---- What is heard ----

TEST_F(Line, HearsTheDefaultInput) {
  const std::uint32_t id = add_input(kInterleaved);
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(auline_is_active(line), 1);
  ausim_run(devices, id, 1);
  EXPECT_EQ(left, channel(1));
  EXPECT_EQ(right, channel(2));
  EXPECT_EQ(rate, 44100.0f);
  auline_stop(line);
  EXPECT_EQ(auline_is_active(line), 0);
  ausim_run(devices, id, 1);
  EXPECT_EQ(calls, 1);
}

TEST_F(Line, HearsTheDeviceOfTheOptions) {
  add_input(kInterleaved);
  const std::uint32_t other = devices.add(input_device(kInterleaved));
  set_options([=](AuLineOptions &options) { options.device = other; });
  EXPECT_EQ(start(), 0);
  ausim_run(devices, other, 2);
  EXPECT_EQ(calls, 2);
}

TEST_F(Line, PointsStraightIntoPlanes) {
  add_input(kPlanar);
  start();
  Samples planes[2] = {channel(1), channel(2)};
  const platform::BufferListOf<2> list = {{2, 0}, {{1, 2048, planes[0].data()}, {1, 2048, planes[1].data()}}};
  line->line_io_proc(&list.list);
  EXPECT_EQ(pair.left, planes[0].data());
  EXPECT_EQ(pair.right, planes[1].data());
  EXPECT_EQ(right, channel(2));
}

constexpr std::uint32_t kMonoAndStereo[] = {1, 2};

TEST_F(Line, CopiesBothWhereOnlyOneLiesByItself) {
  set_options([](AuLineOptions &options) {
    options.left_channel = 1;
    options.right_channel = 3;
  });
  const std::uint32_t id = add_input(kMonoAndStereo);
  start();
  ausim_run(devices, id, 1);
  EXPECT_EQ(left, channel(1));
  EXPECT_EQ(right, channel(3));
}

TEST_F(Line, HearsChosenChannels) {
  set_options([](AuLineOptions &options) {
    options.left_channel = 4;
    options.right_channel = 2;
  });
  const std::uint32_t id = add_input(kFour);
  start();
  ausim_run(devices, id, 1);
  EXPECT_EQ(left, channel(4));
  EXPECT_EQ(right, channel(2));
}

TEST_F(Line, HearsAMonoDeviceOnBothSides) {
  const std::uint32_t id = add_input(kMono);
  start();
  ausim_run(devices, id, 1);
  EXPECT_EQ(left, channel(1));
  EXPECT_EQ(right, channel(1));
}

TEST_F(Line, HearsThePreferredPairOfTheDeviceIfNoChannelIsChosen) {
  const std::uint32_t id = add_input(kFour, [](ausim_device &device) {
    device.input_left = 3;
    device.input_right = 4;
  });
  start();
  ausim_run(devices, id, 1);
  EXPECT_EQ(left, channel(3));
  left.clear();
  set_options([](AuLineOptions &options) { options.right_channel = 2; });
  start();
  ausim_run(devices, id, 1);
  EXPECT_EQ(left, channel(2)) << "with one chosen the preference does not count";
}

TEST_F(Line, DistrustsAPreferredPairWithA0) {
  const std::uint32_t id = add_input(kFour, [](ausim_device &device) { device.input_left = 3; });
  start();
  ausim_run(devices, id, 1);
  EXPECT_EQ(left, channel(1));
}

TEST_F(Line, HandsOnLargeBlocksInParts) {
  const std::uint32_t id = add_input(kInterleaved, [](ausim_device &device) { device.buffer_frames = 9000; });
  start();
  ausim_run(devices, id, 1);
  EXPECT_EQ(counts, (std::vector<int>{8192, 808}));
  EXPECT_EQ(left, channel(1, 9000));
}

TEST_F(Line, HandsOnACycleOf8192FramesWhole) {
  const std::uint32_t id = add_input(kInterleaved, [](ausim_device &device) { device.buffer_frames = 8192; });
  start();
  ausim_run(devices, id, 1);
  EXPECT_EQ(counts, (std::vector<int>{8192}));
}

class LineBeside : public Line, public ::testing::WithParamInterface<std::vector<std::uint32_t>> {};

TEST_P(LineBeside, WhatTheCallbackLeavesStaysWithIt) {
  const std::vector<std::uint32_t> buffers = GetParam();
  const std::uint32_t id = add_input(buffers);
  const auto spoil = [](void *self, const au_channel_pair *channels, std::int32_t frames, float) {
    std::fill_n(channels->left, frames, 9.0f);
    ++static_cast<Line *>(self)->calls;
  };
  auline *const other = auline_create();
  auline_start(other, spoil, this);
  start();
  ausim_run(devices, id, 1);
  EXPECT_EQ(left, channel(1));
  EXPECT_EQ(calls, 2);
  auline_destroy(other);
}

INSTANTIATE_TEST_SUITE_P(Buffers, LineBeside,
                         ::testing::Values(std::vector<std::uint32_t>{2}, std::vector<std::uint32_t>{1, 1}));

TEST_F(Line, WithoutInputChannelsHearsNothing) {
  const std::uint32_t id = devices.add_default_input(output_device(kInterleaved));
  EXPECT_EQ(start(), AUDEVICE_UNKNOWN_PROPERTY) << "there is no format of an input";
  ausim_run(devices, id, 1);
  EXPECT_EQ(calls, 0);
}

TEST_F(Line, IsFitForTheRealTimeThread) {
  for (const auto &buffers : {std::span<const std::uint32_t>(kInterleaved), std::span<const std::uint32_t>(kPlanar)}) {
    const std::uint32_t id = add_input(buffers);
    const auto count = [](void *self, const au_channel_pair *, std::int32_t, float) {
      ++static_cast<Line *>(self)->calls;
    };
    EXPECT_EQ(auline_start(line, count, this), 0);
    std::optional<RealtimeGuard> guard;
    devices.on_input = [&](auto, auto) { guard.emplace(); };
    devices.on_output = [&](auto, auto) { guard.reset(); };
    ausim_run(devices, id, 10);
    devices.on_input = devices.on_output = nullptr;
  }
  EXPECT_EQ(calls, 20);
}

// ---- What is asked of the device ----

TEST_F(Line, AsksInOrder) {
  add_input(kInterleaved, [](ausim_device &device) { device.data_source = 7; });
  set_options([](AuLineOptions &options) {
    options.data_source = 8;
    options.sample_rate = 48000;
    options.buffer_frames = 128;
  });
  devices.take_operations();
  EXPECT_EQ(start(), 0);
  std::string asked;
  for (const DeviceOperation &operation : devices.take_operations()) {
    asked += std::to_string(operation.kind) + operation.selector + operation.scope + " ";
  }
  EXPECT_EQ(asked,
            "1dIn glob 2ssrcinpt 3ssrcinpt 1sfmtinpt 3sfmtinpt 1sfmtinpt 3fsizglob 1dch2inpt 6 8 4sfmtinpt 1sfmtinpt ");
  EXPECT_EQ(line->rate, 48000.0f);
  auline_stop(line);
  asked.clear();
  for (const DeviceOperation &operation : devices.take_operations()) {
    asked += std::to_string(operation.kind) + operation.selector + operation.scope + " ";
  }
  EXPECT_EQ(asked, "9 7 5sfmtinpt ");
}

TEST_F(Line, SelectsASourceOnlyWhereThereIsOne) {
  const std::uint32_t id = add_input(kInterleaved);
  set_options([](AuLineOptions &options) { options.data_source = 8; });
  devices.take_operations();
  EXPECT_EQ(start(), 0);
  EXPECT_TRUE(devices.take_operations(AUSIM_SET).empty());
  const std::uint32_t source = 7;
  ausim_set_property(devices, id, "ssrc", "inpt", 4, &source);
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(devices.take_operations(AUSIM_SET).at(0).as<std::uint32_t>(), 8u);
  devices.fail(AUSIM_SET, "ssrc", -1);
  EXPECT_EQ(start(), 0) << "a source that cannot be set is no failure";
}

TEST_F(Line, AFormatOtherThanLinearPcmIsMinus1WithoutIo) {
  add_input(kInterleaved, [](ausim_device &device) { device.format = four_cc("ac-3"); });
  devices.take_operations();
  EXPECT_EQ(start(), -1);
  EXPECT_EQ(auline_is_active(line), 0);
  EXPECT_TRUE(devices.take_operations(AUSIM_CREATE_IO).empty());
}

TEST_F(Line, GivesTheStatusOfTheStepThatFailed) {
  add_input(kInterleaved);
  set_options([](AuLineOptions &options) { options.sample_rate = 48000; });
  struct Step {
    std::int32_t kind;
    const char *selector;
  };
  for (const auto &[kind, selector] : {Step{AUSIM_GET, "dIn "}, Step{AUSIM_GET, "sfmt"}, Step{AUSIM_SET, "sfmt"},
                                       Step{AUSIM_CREATE_IO, ""}, Step{AUSIM_START, ""}}) {
    devices.fail(kind, selector, -77);
    EXPECT_EQ(start(), -77) << selector;
    EXPECT_EQ(auline_is_active(line), 0);
    EXPECT_EQ(line->io_proc_id, 0u);
    devices.fail(kind, selector, 0);
  }
  EXPECT_EQ(start(), 0);
}

TEST_F(Line, AStartThatFailsTakesItsIoAway) {
  add_input(kInterleaved);
  devices.fail(AUSIM_START, "", -77);
  start();
  EXPECT_EQ(devices.take_operations().back().kind, AUSIM_DESTROY_IO);
}

TEST_F(Line, WhatWasSetBeforeAFailureStaysSet) {
  add_input(kInterleaved);
  set_options([](AuLineOptions &options) { options.sample_rate = 48000; });
  int reads = 0;
  devices.on_operation = [&](const DeviceOperation &operation) {
    return operation.kind == AUSIM_GET && operation.selector == "sfmt" && ++reads == 2 ? -77 : 0;
  };
  EXPECT_EQ(start(), -77);
  devices.on_operation = nullptr;
  set_options([](AuLineOptions &options) { options.sample_rate = 0; });
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(line->rate, 48000.0f);
}

TEST_F(Line, WithoutADefaultInputGivesAStatus) {
  EXPECT_EQ(start(), AUDEVICE_BAD_OBJECT);
  EXPECT_EQ(auline_is_active(line), 0);
}

TEST_F(Line, AsksForABufferSizeUpTo4096) {
  add_input(kInterleaved);
  const auto tried = [&](std::uint32_t frames) {
    set_options([=](AuLineOptions &options) { options.buffer_frames = frames; });
    devices.take_operations();
    EXPECT_EQ(start(), 0);
    std::vector<std::uint32_t> sizes;
    for (const DeviceOperation &operation : devices.take_operations(AUSIM_SET)) {
      sizes.push_back(operation.as<std::uint32_t>());
    }
    return sizes;
  };
  using Sizes = std::vector<std::uint32_t>;
  EXPECT_EQ(tried(0), Sizes());
  EXPECT_EQ(tried(128), Sizes({128}));
  EXPECT_EQ(tried(4097), Sizes());
  devices.fail(AUSIM_SET, "fsiz", -1);
  EXPECT_EQ(tried(1000), Sizes({1000, 2000, 4000}));
  EXPECT_EQ(tried(2048), Sizes({2048, 4096}));
}

TEST_F(Line, MayBeRestarted) {
  const std::uint32_t id = add_input(kInterleaved);
  start();
  start();
  ausim_run(devices, id, 1);
  EXPECT_EQ(calls, 1);
}

// ---- Changes ----

TEST_F(Line, ARateThatChangesReachesTheCallbackWithoutARestart) {
  const std::uint32_t id = add_input(kInterleaved);
  start();
  devices.take_operations();
  devices.set_rate(id, 96000);
  ausim_run(devices, id, 1);
  EXPECT_EQ(rate, 96000.0f);
  EXPECT_TRUE(devices.take_operations(AUSIM_START).empty());
}

// Otherwise the one that looked first might be the last to store what it saw.
TEST_F(Line, OneThreadAtATimeLooksAtTheRate) {
  const std::uint32_t id = add_input(kInterleaved);
  start();
  std::atomic<int> looking = 0;
  std::atomic<bool> together = false;
  std::thread other;
  const auto look = [&] {
    const platform::PropertyAddress format = platform::stream_format(platform::kInput);
    auline::device_property_proc(id, 1, &format, line);
  };
  devices.on_operation = [&](const DeviceOperation &operation) {
    if (operation.kind != AUSIM_GET || operation.selector != "sfmt") return 0;
    if (++looking > 1) together = true;
    if (!other.joinable()) {
      other = std::thread(look);
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    --looking;
    return 0;
  };
  look();
  other.join();
  devices.on_operation = nullptr;
  EXPECT_FALSE(together);
}

TEST_F(Line, AFormatThatCannotBeReadLeavesTheRate) {
  const std::uint32_t id = add_input(kInterleaved);
  start();
  devices.fail(AUSIM_GET, "sfmt", -1);
  devices.set_rate(id, 96000);
  ausim_run(devices, id, 1);
  EXPECT_EQ(rate, 44100.0f);
}

TEST_F(Line, ADeviceThatGoesAwayBringsNothingAndCanBeStopped) {
  const std::uint32_t id = add_input(kInterleaved);
  start();
  ausim_remove_device(devices, id);
  EXPECT_EQ(auline_is_active(line), 1);
  auline_stop(line);
  EXPECT_EQ(auline_is_active(line), 0);
}

// ---- Silence ----

struct Silence {
  static void hear(void *self, const au_channel_pair *channels, std::int32_t frames, float rate) {
    auto &silence = *static_cast<Silence *>(self);
    silence.frames = frames;
    silence.rate = rate;
    for (std::int32_t i = 0; i < frames; ++i) silence.loud += channels->left[i] != 0 || channels->right[i] != 0;
    std::fill_n(channels->left, frames, 1.0f);
    ++silence.calls;
  }
  void wait_for(int count) const {
    while (calls < count) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  std::atomic<int> calls = 0, frames = 0, loud = 0;
  std::atomic<float> rate = 0;
};

TEST_F(Line, WithoutADeviceBringsSilenceAtItsPace) {
  set_options([](AuLineOptions &options) { options.device = AULINE_NO_DEVICE; });
  Silence silence;
  devices.take_operations();
  EXPECT_EQ(auline_start(line, Silence::hear, &silence), 0);
  EXPECT_EQ(auline_is_active(line), 1);
  EXPECT_EQ(line->silence_frames, 256u);
  EXPECT_DOUBLE_EQ(line->silence_period, 256 / 44100.0);
  silence.wait_for(5);
  auline_stop(line);
  const int calls_at_stop = silence.calls;
  EXPECT_EQ(silence.frames, 256);
  EXPECT_EQ(silence.rate, 44100.0f);
  EXPECT_EQ(silence.loud, 0) << "zeroes each time anew";
  EXPECT_EQ(auline_is_active(line), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(15));
  EXPECT_EQ(silence.calls, calls_at_stop);
  EXPECT_TRUE(devices.take_operations().empty());
}

// By when each call is due, however late it comes.
TEST_F(Line, SilenceIsDueOnceAPeriod) {
  struct Pace {
    static void hear(void *self, const au_channel_pair *, std::int32_t, float) {
      auto &pace = *static_cast<Pace *>(self);
      if (pace.calls < 5) pace.due[pace.calls] = pace.line->timer.due();
      ++pace.calls;
    }
    auline *line;
    std::uint64_t due[5] = {};
    std::atomic<int> calls = 0;
  } pace{line};
  set_options([](AuLineOptions &options) { options.device = AULINE_NO_DEVICE; });
  ASSERT_EQ(auline_start(line, Pace::hear, &pace), 0);
  while (pace.calls < 5) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  auline_stop(line);
  for (int i = 1; i < 5; ++i) {
    EXPECT_NEAR(static_cast<double>(pace.due[i] - pace.due[i - 1]), 256e9 / 44100, 1.0) << i;
  }
}

TEST_F(Line, SilenceTakesRateAndFramesOfTheOptions) {
  set_options([](AuLineOptions &options) {
    options.device = AULINE_NO_DEVICE;
    options.sample_rate = 96000;
    options.buffer_frames = 64;
  });
  Silence silence;
  EXPECT_EQ(auline_start(line, Silence::hear, &silence), 0);
  EXPECT_DOUBLE_EQ(line->silence_period, 64 / 96000.0);
  silence.wait_for(2);
  EXPECT_EQ(silence.frames, 64);
  EXPECT_EQ(silence.rate, 96000.0f);
  EXPECT_EQ(auline_start(line, Silence::hear, &silence), 0) << "and may be restarted";
}

TEST_F(Line, SilenceOfAChannelBeyondTheTwoIsNotHeard) {
  set_options([](AuLineOptions &options) {
    options.device = AULINE_NO_DEVICE;
    options.left_channel = 3;
    options.buffer_frames = 16;
  });
  Silence silence;
  EXPECT_EQ(auline_start(line, Silence::hear, &silence), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
  auline_stop(line);
  EXPECT_EQ(silence.calls, 0);
}

TEST_F(Line, SilenceThatCannotBeIsRefused) {
  Silence silence;
  for (const float bad : {-1.0f, 0.5f, NAN, INFINITY}) {
    set_options([=](AuLineOptions &options) {
      options.device = AULINE_NO_DEVICE;
      options.sample_rate = bad;
    });
    EXPECT_EQ(auline_start(line, Silence::hear, &silence), AUDEVICE_BAD_VALUE) << bad;
    EXPECT_EQ(auline_is_active(line), 0);
  }
  set_options([](AuLineOptions &options) {
    options.sample_rate = 0;
    options.buffer_frames = UINT32_MAX;
  });
  EXPECT_EQ(auline_start(line, Silence::hear, &silence), AUDEVICE_BAD_VALUE);
}

TEST_F(Line, SilenceWithoutMemoryOrAThreadIsAStatus) {
  set_options([](AuLineOptions &options) { options.device = AULINE_NO_DEVICE; });
  Silence silence;
  devices.stop_noting();
  for (const char *call : {"operator new", "pthread_create"}) {
    const CallFailer failer(call);
    EXPECT_EQ(auline_start(line, Silence::hear, &silence), AUDEVICE_NO_MEMORY) << call;
    EXPECT_EQ(auline_is_active(line), 0);
  }
}

}  // namespace
}  // namespace auspool::testing
