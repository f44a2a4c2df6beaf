// The player's record: creation, settings, its output, and what becomes of memory.
#include "auspool/aupacketplayer.h"

#include <cstring>

#include "auplayer/aupacketplayer/player_fixture.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

// An output that notes what it is asked.
struct Output {
  std::string calls;
  float gain = 0.25f;

  static Output &of(void *context) { return *static_cast<Output *>(context); }
  aupacketplayer_callbacks callbacks() {
    return {.context = this,
            .start = [](void *context) { return of(context).calls += "start ", std::int32_t{-7}; },
            .stop = [](void *context) { of(context).calls += "stop "; },
            .destroy = [](void *context) { of(context).calls += "destroy "; },
            .get_gain = [](void *context) { return of(context).gain; },
            .set_gain = [](void *context, float wanted) { of(context).gain = wanted; },
            .get_latency = [](void *) { return 0.5; }};
  }
};

TEST_F(PacketPlayer, StartsWithTheStatedValues) {
  aupacketplayer *player = aupacketplayer_create(3, nullptr, nullptr, 48000.0f);
  EXPECT_EQ(player->sample_rate, 48000.0f);
  EXPECT_EQ(player->time_adjustment, 0.0);
  EXPECT_EQ(player->pads_missing_audio, 1u);
  EXPECT_EQ(player->resample_continuously, 1u);
  EXPECT_EQ(player->sample_buffer_size, 81920);
  EXPECT_EQ(player->sample_buffer_count, 0);
  EXPECT_EQ(player->last_timestamp, 0.0);
  EXPECT_EQ(player->next_timestamp, 0.0);
  EXPECT_EQ(player->error_sum, 0.0);
  EXPECT_EQ(player->skip_derivative, 0u);
  EXPECT_EQ(player->callbacks.start, nullptr);
  const aupacketplayer_status status = aupacketplayer_get_status(player);
  EXPECT_EQ(status.state, 0xFEEDu);
  EXPECT_EQ(status.offset, 0.0);
  EXPECT_EQ(status.rate_correction, 0.0);
  aupacketplayer_destroy(player);
}

TEST_F(PacketPlayer, AStateHasItsNumber) {
  EXPECT_EQ(static_cast<std::uint32_t>(State::created), 0xFEEDu);
  EXPECT_EQ(static_cast<std::uint32_t>(State::buffering), 0xFEF0u);
  EXPECT_EQ(static_cast<std::uint32_t>(State::playback), 0xFEEEu);
  EXPECT_EQ(static_cast<std::uint32_t>(State::empty), 0xFEEFu);
}

TEST(PacketPlayerCreation, FailsForNoCapacityAndForOneThatNoHeapHas) {
  EXPECT_EQ(aupacketplayer_create(0, nullptr, nullptr, 44100.0f), nullptr);
  EXPECT_EQ(aupacketplayer_create(0x80000000u, nullptr, nullptr, 44100.0f), nullptr);
}

TEST(PacketPlayerCreation, SurvivesAFailedAllocationAndLeavesNothingBehind) {
  const long before = live_allocations();
  EXPECT_EQ(fail_each_allocation([] {
              aupacketplayer *player = aupacketplayer_create(10, nullptr, nullptr, 44100.0f);
              aupacketplayer_destroy(player);
              return player != nullptr;
            }),
            6);
  EXPECT_EQ(live_allocations(), before);
}

TEST(PacketPlayerDestruction, AcceptsNull) {
  aupacketplayer_destroy(nullptr);
}

TEST_F(PacketPlayer, WithoutAnOutputStartsGivesAGainOfOneAndIgnoresTheRest) {
  EXPECT_EQ(aupacketplayer_start(player_), 0);
  EXPECT_EQ(aupacketplayer_get_gain(player_), 1.0f);
  aupacketplayer_set_gain(player_, 0.5f);
  EXPECT_EQ(aupacketplayer_get_gain(player_), 1.0f);
  aupacketplayer_stop(player_);
}

TEST_F(PacketPlayer, PassesControlOnToItsOutput) {
  Output output;
  aupacketplayer_set_callbacks(player_, output.callbacks());
  const aupacketplayer_callbacks stored = aupacketplayer_get_callbacks(player_), given = output.callbacks();
  EXPECT_EQ(std::memcmp(&stored, &given, sizeof stored), 0);
  EXPECT_EQ(aupacketplayer_start(player_), -7);
  aupacketplayer_stop(player_);
  EXPECT_EQ(output.calls, "start stop ");
  EXPECT_EQ(aupacketplayer_get_gain(player_), 0.25f);
  aupacketplayer_set_gain(player_, 2.0f);
  EXPECT_EQ(output.gain, 2.0f);
  aupacketplayer_set_callbacks(player_, {});
}

TEST_F(PacketPlayer, EndsAnOutputWhenItGetsAnotherAndWhenItIsDestroyed) {
  Output first, second;
  aupacketplayer_set_callbacks(player_, first.callbacks());
  EXPECT_EQ(first.calls, "");
  aupacketplayer_set_callbacks(player_, second.callbacks());
  EXPECT_EQ(first.calls, "destroy ");
  aupacketplayer_destroy(player_);
  player_ = nullptr;
  EXPECT_EQ(first.calls, "destroy ");
  EXPECT_EQ(second.calls, "destroy ");
}

// It starts to wait even where the output does not start.
TEST_F(PacketPlayer, StartingLeavesCreatedAndNoOtherState) {
  Output output;
  aupacketplayer_set_callbacks(player_, output.callbacks());
  aupacketplayer_start(player_);
  EXPECT_EQ(state(), State::buffering);
  for (const State other : {State::playback, State::empty, State::buffering}) {
    player_->state = other;
    aupacketplayer_start(player_);
    EXPECT_EQ(state(), other);
    aupacketplayer_stop(player_);
    EXPECT_EQ(state(), other);
  }
  aupacketplayer_set_callbacks(player_, {});
}

TEST_F(PacketPlayer, ReportsAudioThatFindsNoMemoryAndDropsIt) {
  ::testing::internal::CaptureStderr();
  {
    const AllocationFailer failer(1);
    play(0, 0);  // the vector of the test takes none
    const float audio[6] = {};
    const AllocationFailer again(1);
    aupacketplayer_play(player_, audio, 3, kStart);
  }
  const std::string line = "aupacketplayer_play: malloc failed (";
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            line + "0 bytes, 0 frames), dropping audio\n" + line + "24 bytes, 3 frames), dropping audio\n");
  EXPECT_EQ(auptrbuf_get_and_remove_node(player_->packets.get()), nullptr);
}

TEST_F(PacketPlayer, DropsAPacketOrAFlushThatFindsNoMemoryWithoutAWord) {
  const long before = live_allocations();
  const float audio[6] = {};
  ::testing::internal::CaptureStderr();
  for (const int nth : {2, 3}) {  // the packet and its entry in the queue
    const AllocationFailer failer(nth);
    aupacketplayer_play(player_, audio, 3, kStart);
    EXPECT_TRUE(failer.failed());
  }
  for (const int nth : {1, 2}) {
    const AllocationFailer failer(nth);
    aupacketplayer_flush(player_);
    EXPECT_TRUE(failer.failed());
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(auptrbuf_get_and_remove_node(player_->packets.get()), nullptr);
  EXPECT_EQ(live_allocations(), before);
}

TEST_F(PacketPlayer, ReleasesPacketsWhereverTheyAreWhenItIsDestroyed) {
  aupacketplayer_destroy(player_);
  const long before = live_allocations();
  player_ = aupacketplayer_create(64, nullptr, nullptr, 44100.0f);
  aupacketplayer_start(player_);
  for (int i = 0; i < 5; ++i) play(10, kStart + i);
  get(5);                // one is finished with, four are in the heap
  play(10, kStart + 9);  // and one waits
  aupacketplayer_flush(player_);
  aupacketplayer_destroy(player_);
  player_ = nullptr;
  EXPECT_EQ(live_allocations(), before);
}

TEST_F(PacketPlayer, APlayedPacketIsReleasedByTheNextOneQueued) {
  begin(10);
  player_->log_callback = nullptr;  // what it keeps would be counted
  const long before = live_allocations();
  get(10);
  EXPECT_EQ(live_allocations(), before);  // the audio is over, the packet still there
  play(10, kStart + 10 / 44100.0);
  EXPECT_EQ(live_allocations(), before);  // one more and one less
  get(10);
  aupacketplayer_flush(player_);
  EXPECT_EQ(live_allocations(), before - 1);  // a marker has no audio
}

}  // namespace
}  // namespace auspool::testing
