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

class PipeWireExact : public SoundTest {
protected:
  static constexpr std::uint64_t kFrames = 480000;

  void expect_all(NumberedPlayer &player, const OwnSink &sink) {
    std::vector<Stretch> stretches;
    ASSERT_TRUE(eventually([&] { return player.next >= kFrames && sink.count() >= 2 * kFrames; }));
    ASSERT_EQ(player.stop(), 0);
    stretches = stretches_of(sink.samples(), 2);
    ASSERT_EQ(stretches.size(), 1u) << ::testing::PrintToString(stretches);
  }
};

TEST_F(PipeWireExact, TenSecondsArriveWithoutALostFrame) {
  const OwnSink sink("fast", 0, true);
  ASSERT_TRUE(eventually([&] { return system->device("fast") != 0; }));
  NumberedPlayer player(devices(), system->device("fast"));
  player.last = kFrames;
  ASSERT_EQ(player.start(), 0);
  expect_all(player, sink);
}

TEST_F(PipeWireExact, AnotherBufferSizeLosesNothing) {
  const OwnSink sink("fast", 0, true);
  ASSERT_TRUE(eventually([&] { return system->device("fast") != 0; }));
  const ObjectId fast = system->device("fast");
  NumberedPlayer player(devices(), fast);
  player.last = kFrames;
  ASSERT_EQ(player.start(), 0);
  for (std::uint32_t frames = 256; player.next < kFrames; frames = frames == 256 ? 1024 : 256) {
    ASSERT_EQ(devices().set(fast, kBufferFrames, frames), 0);
  }
  expect_all(player, sink);
}

}  // namespace
}  // namespace auspool::platform
