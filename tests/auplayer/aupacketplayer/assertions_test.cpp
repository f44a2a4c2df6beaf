// What ends the process, and with which words.
#include "auplayer/aupacketplayer/playback.h"
#include "auplayer/aupacketplayer/player_fixture.h"

namespace auspool::testing {
namespace {

class PacketPlayerDeathTest : public PacketPlayer {};

TEST_F(PacketPlayerDeathTest, APacketLongerThanTheSampleBuffer) {
  aupacketplayer_start(player_);
  play(81921, kStart);
  EXPECT_DEATH(get(1),
               "^src/auplayer/aupacketplayer:PlayAudio:[0-9]+: assertion failure: ctx->sample_buffer_size >= "
               "packet->frames\n$");
}

TEST_F(PacketPlayer, APacketThatFillsTheSampleBufferIsPlayedWhole) {
  aupacketplayer_start(player_);
  play(81920, kStart);
  EXPECT_EQ(held_values_of(get(1000)), (HeldValues{{0, 2}, {1, 998}}));
  EXPECT_EQ(held_values_of(get(81000)), (HeldValues{{1, 80922}, {0, 78}}));
}

TEST_F(PacketPlayerDeathTest, AudioThatIsLeftOverWhereAPacketStarts) {
  play(10, kStart);
  get(0);
  player_->sample_buffer_count = 1;
  float output[2];
  EXPECT_DEATH(PlayAudio(*player_, output, 1),
               "^src/auplayer/aupacketplayer:PlayAudio:[0-9]+: assertion failure: ctx->sample_buffer_count == 0\n$");
}

TEST_F(PacketPlayerDeathTest, ANodeWithoutAPacket) {
  auptrbuf_add(player_->packets.get(), nullptr);
  EXPECT_DEATH(get(1), "^src/auplayer/aupacketplayer:StealPackets:[0-9]+: assertion failure: packet != NULL\n$");
}

TEST_F(PacketPlayerDeathTest, NoNodeWhereOneMustBe) {
  EXPECT_DEATH(RemoveMinNode(*player_),
               "^src/auplayer/aupacketplayer:RemoveMinNode:[0-9]+: assertion failure: node\n$");
  EXPECT_DEATH(EvaluateFirstNode(*player_, kStart, 1),
               "^src/auplayer/aupacketplayer:EvaluateFirstNode:[0-9]+: assertion failure: node\n$");
}

}  // namespace
}  // namespace auspool::testing
