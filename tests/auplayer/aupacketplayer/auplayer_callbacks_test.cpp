// The packet player on a device: everything is exact on a simulated one, whose clock the test moves.
#include <algorithm>
#include <cmath>

#include "auplayer/aupacketplayer/player_fixture.h"
#include "auplayer/auplayer_record.h"
#include "support/simulated_devices.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

class OnADevice : public PacketPlayer {
protected:
  static constexpr double kCycle = 512 / 44100.0;

  // An output of 44100 Hz with so much latency beyond its buffer.
  void start(std::uint32_t latency_frames, std::uint32_t cycle_frames = 512) {
    ausim_device device = output_device(kInterleaved);
    device.output_latency = latency_frames;
    device.buffer_frames = cycle_frames;
    ausim_set_time(devices_, clock_.ticks);
    id_ = devices_.add_default_output(device);
    aupacketplayer_set_auplayer_callbacks(player_);
    ASSERT_EQ(aupacketplayer_start(player_), 0);
    devices_.on_output = [this](std::span<const ausim_buffer> buffers, std::uint32_t) {
      const auto left = channel_of(buffers[0], 0);
      heard_.insert(heard_.end(), left.begin(), left.end());
    };
  }

  auplayer *output() const { return static_cast<auplayer *>(aupacketplayer_get_callbacks(player_).context); }

  void run(int cycles) {
    for (int i = 0; i < cycles; ++i) {
      clock_.ticks = ausim_time(devices_);
      ausim_run(devices_, id_, 1);
    }
  }

  void TearDown() override {
    aupacketplayer_destroy(player_);  // before its device goes
    player_ = nullptr;
  }

  std::uint32_t id_ = 0;
  std::vector<float> heard_;
  SimulatedDevices devices_;
};

TEST_F(OnADevice, APacketIsHeardFromTheFirstFrameOfTheCycleThatIsHeardAtItsTime) {
  start(100);
  run(1);
  const double latency = static_cast<double>(auplayer_device_latency(output()));
  EXPECT_GT(latency, 0.0);
  const double third = static_cast<double>(ausim_time(devices_)) / 1e9 + 2 * kCycle + latency;
  play(1000, third - 1e-6);
  run(4);
  EXPECT_EQ(held_values_of(heard_), (HeldValues{{0, 3 * 512 + 2}, {1, 1000}, {0, 2 * 512 - 1002}}));
}

TEST_F(OnADevice, AMicrosecondLaterItIsTheNextCycle) {
  start(100);
  run(1);
  const double latency = static_cast<double>(auplayer_device_latency(output()));
  const double third = static_cast<double>(ausim_time(devices_)) / 1e9 + 2 * kCycle + latency;
  play(1000, third + 1e-6);
  run(5);
  EXPECT_EQ(held_values_of(heard_), (HeldValues{{0, 4 * 512 + 2}, {1, 1000}, {0, 2 * 512 - 1002}}));
}

TEST_F(OnADevice, MoreLatencyMeansPlayingEarlier) {
  start(4410);  // a tenth of a second
  play(1000, kStart + 0.1 + 1e-6);
  run(1);
  EXPECT_EQ(held_values_of(heard_), (HeldValues{{0, 2}, {1, 510}}));
}

// The packets' clock is fast; over minutes the audio stays at its timestamps.
TEST_F(OnADevice, DriftIsFollowed) {
  constexpr double kDrift = 2e-4;
  start(0);
  aupacketplayer_set_resample_continuously(player_, 1);
  const double first = kStart + 0.2;
  std::int64_t packets = 0;
  double sum = 0, earliest = 1, latest = -1;
  const int cycles = 40000, counted = 10000;
  for (int cycle = 0; cycle < cycles; ++cycle) {
    double due;
    while ((due = first + static_cast<double>(packets) * 441 / (44100 * (1 + kDrift))) < now() + 0.1) {
      play(441, due);
      ++packets;
    }
    run(1);
    heard_.clear();
    if (cycle < cycles - counted) continue;
    const aupacketplayer_status status = aupacketplayer_get_status(player_);
    EXPECT_EQ(status.state, std::uint32_t{AuPacketPlayerPlayback});
    sum += status.rate_correction;
    earliest = std::min(earliest, status.offset);
    latest = std::max(latest, status.offset);
  }
  EXPECT_NEAR(sum / counted, -kDrift, 1e-6);  // the output is slow by as much
  EXPECT_LT(latest - earliest, 0.5e-3);
  EXPECT_EQ(std::count_if(heard_.begin(), heard_.end(), [](float sample) { return sample == 0.0f; }), 0);
}

// How late a packet is heard once the controller has settled, by what comes out.
TEST_F(OnADevice, LongCyclesAreHeardAtTheirTimesToo) {
  constexpr double kPacket = 441 / 44100.0, kFirst = kStart + 0.5;
  start(0, 8192);
  aupacketplayer_set_resample_continuously(player_, 1);
  std::int64_t packets = 0;
  double heard_from = 0;
  while (now() < kStart + 200) {
    for (double due; (due = kFirst + static_cast<double>(packets) * kPacket) < now() + 0.55; ++packets) {
      play(441, due, static_cast<float>(packets));
    }
    heard_.clear();
    run(1);
    heard_from = now() + 8192 / 44100.0;
  }
  const float next = std::floor(heard_.front()) + 1.0f;  // the first packet that begins in this cycle
  const auto begin = std::ranges::find_if(heard_, [next](float sample) { return sample > next - 0.5f; });
  const double heard_at = heard_from + static_cast<double>(begin - heard_.begin()) / 44100.0;
  EXPECT_NEAR(heard_at, kFirst + static_cast<double>(next) * kPacket, 0.02);
}

TEST_F(OnADevice, ControlReachesTheDevicePlayer) {
  start(0);
  EXPECT_EQ(auplayer_is_active(output()), 1u);
  aupacketplayer_set_gain(player_, 0.5f);
  EXPECT_EQ(auplayer_get_gain(output()), 0.5f);
  EXPECT_EQ(aupacketplayer_get_gain(player_), 0.5f);
  play(1000, kStart);
  run(1);
  EXPECT_EQ(held_values_of(heard_), (HeldValues{{0, 2}, {0.5f, 510}}));
  aupacketplayer_stop(player_);
  EXPECT_EQ(auplayer_is_active(output()), 0u);
  EXPECT_EQ(state(), State::playback);
}

TEST_F(OnADevice, AnotherOutputStopsAndReleasesTheDevicePlayer) {
  start(0);
  devices_.take_operations();
  aupacketplayer_set_callbacks(player_, {});
  EXPECT_EQ(devices_.take_operations(AUSIM_STOP).size(), 1u);
  EXPECT_EQ(devices_.take_operations().size(), 0u);
}

TEST_F(OnADevice, AStatusOfTheDeviceComesBackFromStart) {
  aupacketplayer_set_auplayer_callbacks(player_);
  EXPECT_EQ(aupacketplayer_start(player_), AUPLAYER_NO_DEFAULT_DEVICE);
  EXPECT_EQ(state(), State::buffering);
}

TEST_F(OnADevice, GettingFramesIsFitForTheDevicesThread) {
  start(100);
  devices_.on_output = nullptr;
  devices_.stop_noting();
  aupacketplayer_set_resample_continuously(player_, 1);
  for (int i = 0; i < 10; ++i) play(1000, kStart + i * 1000 / 44100.0);
  player_->log_callback = nullptr;
  float block[2 * 512];
  const RealtimeGuard guard;
  for (int i = 0; i < 4; ++i) aupacketplayer_get_frames(player_, block, 512, 44100.0f);
}

// With the device player in between.
TEST_F(OnADevice, ACycleIsFitForTheDevicesThread) {
  start(100);
  aupacketplayer_set_resample_continuously(player_, 1);
  for (int i = 0; i < 10; ++i) play(1000, kStart + i * 1000 / 44100.0);
  player_->log_callback = nullptr;
  float block[2 * 512];
  platform::BufferListOf<1> list = {{1, 0}, {{2, sizeof block, block}}};
  const platform::TimeStamp stamp = {0, clock_.ticks, platform::TimeStamp::kHostTimeValid};
  const RealtimeGuard guard;
  for (int i = 0; i < 4; ++i) {
    Player::device_io_proc(id_, &stamp, nullptr, nullptr, &list.list, &stamp, static_cast<Player *>(output()));
  }
}

TEST_F(OnADevice, WithoutMemoryForTheDevicePlayerStartSaysSoAndTheRestIsQuiet) {
  static bool old_ended;
  old_ended = false;
  aupacketplayer_callbacks old = {};
  old.destroy = [](void *) { old_ended = true; };
  aupacketplayer_set_callbacks(player_, old);
  {
    const AllocationFailer failer(1);
    aupacketplayer_set_auplayer_callbacks(player_);
    ASSERT_TRUE(failer.failed());
  }
  EXPECT_TRUE(old_ended);
  EXPECT_EQ(output(), nullptr);
  EXPECT_EQ(aupacketplayer_start(player_), AUDEVICE_NO_MEMORY);
  aupacketplayer_stop(player_);
  aupacketplayer_set_gain(player_, 0.5f);
  EXPECT_EQ(aupacketplayer_get_gain(player_), 1.0f);
  play(100, kStart);
  EXPECT_EQ(held_values_of(get(50)), (HeldValues{{0, 2}, {1, 48}}));
}

}  // namespace
}  // namespace auspool::testing
