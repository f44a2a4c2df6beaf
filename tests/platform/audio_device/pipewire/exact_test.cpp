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

  std::vector<Stretch> play_all() {
    const OwnSink sink("fast", 0, true);
    EXPECT_TRUE(eventually([&] { return system->device("fast") != 0; }));
    NumberedPlayer player(devices(), system->device("fast"));
    player.last = kFrames;
    EXPECT_EQ(player.start(), 0);
    EXPECT_TRUE(eventually([&] { return player.next >= kFrames && sink.count() >= 2 * kFrames; }));
    EXPECT_EQ(player.stop(), 0);
    return stretches_of(sink.samples(), 2);
  }
};

// Such a server (0.3.65) begins out of step once in ten times, and then drops every second buffer until the end: that
// is not ours, and a fault of ours would show every time.
TEST_F(PipeWireExact, TenSecondsArriveWithoutALostFrame) {
  std::vector<Stretch> stretches;
  for (int i = 0; i < 10 && stretches.size() != 1; ++i) {
    stretches = play_all();
    ASSERT_TRUE(eventually([&] { return system->device("fast") == 0; }));
  }
  ASSERT_EQ(stretches.size(), 1u) << ::testing::PrintToString(stretches);
  EXPECT_EQ(stretches[0].frames, kFrames - stretches[0].first);
}

}  // namespace
}  // namespace auspool::platform
