#include <gtest/gtest.h>

#include <cmath>

#include "platform/audio_device/pipewire/own_sink.h"
#include "support/sound_system.h"

namespace auspool::platform {
namespace {

using testing::eventually;
using testing::NumberedPlayer;
using testing::OwnSink;
using testing::SoundTest;

class PipeWireLatency : public SoundTest {};

TEST_F(PipeWireLatency, IsTheGraphs) {
  const OwnSink sink("late", 4800);
  ASSERT_TRUE(eventually([&] { return system->device("late") != 0; }));
  NumberedPlayer player(devices(), system->device("late"));
  ASSERT_EQ(player.start(), 0);
  ASSERT_TRUE(eventually([&] { return player.cycles > 3; }));
  EXPECT_TRUE(eventually([&] { return std::abs(player.latency - 0.1) < 1e-6; })) << player.latency;
}

TEST_F(PipeWireLatency, IsNoneWhereTheGraphSaysNone) {
  NumberedPlayer player(devices(), system->device("main"));
  ASSERT_EQ(player.start(), 0);
  ASSERT_TRUE(eventually([&] { return player.cycles > 3; }));
  EXPECT_EQ(player.latency, 0.0);
}

}  // namespace
}  // namespace auspool::platform
