// On a sink that waits for everyone nothing but a fault of ours loses a frame.
#include <gtest/gtest.h>

#include "platform/audio_device/pipewire/own_sink.h"
#include "support/sound_system.h"

namespace auspool::platform {
namespace {

using testing::eventually;
using testing::NumberedPlayer;
using testing::OwnSink;
using testing::SoundTest;
using testing::Stretch;
using testing::stretches_of;

class PipeWireExact : public SoundTest {};

TEST_F(PipeWireExact, TenSecondsArriveWithoutALostFrame) {
  constexpr std::uint64_t kFrames = 480000;
  const OwnSink sink("fast", 0, true);
  ASSERT_TRUE(eventually([&] { return system->device("fast") != 0; }));
  NumberedPlayer player(devices(), system->device("fast"));
  player.last = kFrames;
  ASSERT_EQ(player.start(), 0);
  ASSERT_TRUE(eventually([&] { return player.next >= kFrames && sink.count() >= 2 * kFrames; }));
  ASSERT_EQ(player.stop(), 0);
  const std::vector<Stretch> stretches = stretches_of(sink.samples(), 2);
  ASSERT_EQ(stretches.size(), 1u) << ::testing::PrintToString(stretches);
  EXPECT_EQ(stretches[0].frames, kFrames - stretches[0].first);
}

}  // namespace
}  // namespace auspool::platform
