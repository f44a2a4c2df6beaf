// From the queue to the heap: order, what is rejected, flushes, and a full heap.
#include "auplayer/aupacketplayer/packets.h"

#include <limits>

#include "auplayer/aupacketplayer/player_fixture.h"

namespace auspool::testing {
namespace {

TEST_F(PacketPlayer, PlaysPacketsInTheOrderOfTheirTimestampsNotOfTheirArrival) {
  aupacketplayer_start(player_);
  for (const int i : {2, 0, 3, 1}) play(100, kStart + i * 100 / 44100.0, static_cast<float>(i + 1));
  EXPECT_EQ(held_values_of(get(402)), (HeldValues{{0, 2}, {1, 100}, {2, 100}, {3, 100}, {4, 100}}));
}

TEST_F(PacketPlayer, OrdersNodesByTimestamp) {
  play(1, 5.0);
  play(1, 6.0);
  auptrbuf *queue = player_->packets.get();
  auptrbuf_node *later = auptrbuf_get_and_remove_node(queue), *earlier = auptrbuf_get_and_remove_node(queue);
  EXPECT_TRUE(TimestampLessThan(earlier, later, nullptr));
  EXPECT_FALSE(TimestampLessThan(later, earlier, nullptr));
  EXPECT_FALSE(TimestampLessThan(later, later, nullptr));
  auptrbuf_free_node(queue, earlier);
  auptrbuf_free_node(queue, later);
}

TEST_F(PacketPlayer, RejectsWhatIsNotLaterThanThePacketLastStarted) {
  begin(10);
  get(10);
  play(10, kStart);
  play(10, kStart - 1.5);
  play(10, std::nan(""));
  get(0);
  EXPECT_EQ(logged(), (Lines{"3 rejecting packet nan", "3 rejecting packet 98.500000", "3 rejecting packet 100.000000",
                             "1 Empty buffer!"}));
  EXPECT_FALSE(has_packet(*player_));
}

// The last timestamp is 0 from the start.
TEST_F(PacketPlayer, RejectsTimestampsThatAreNotAboveZeroFromTheStart) {
  play(10, 0.0);
  play(10, -3.0);
  play(10, 1e-9);
  get(0);
  EXPECT_EQ(logged(), (Lines{"3 rejecting packet -3.000000", "3 rejecting packet 0.000000"}));
  EXPECT_EQ(first_packet(*player_).timestamp, 1e-9);
}

// Played, the infinite one would silence all that comes after it.
TEST_F(PacketPlayer, RejectsTimestampsThatAreNotFinite) {
  begin(10);
  play(10, std::numeric_limits<double>::infinity());
  play(10, -std::numeric_limits<double>::infinity());
  play(10, kStart + 10 / 44100.0, 2.0f);
  EXPECT_EQ(held_values_of(get(25)), (HeldValues{{0, 2}, {1, 10}, {2, 10}, {0, 3}}));
  EXPECT_EQ(logged(), (Lines{"3 rejecting packet -inf", "3 rejecting packet inf", "1 Empty buffer!"}));
  EXPECT_EQ(player_->last_timestamp, kStart + 10 / 44100.0);
}

TEST_F(PacketPlayer, OfEqualTimestampsTheFirstQueuedIsPlayedAndTheOtherSkipped) {
  aupacketplayer_start(player_);
  play(10, kStart, 1.0f);
  play(10, kStart, 2.0f);
  EXPECT_EQ(held_values_of(get(15)), (HeldValues{{0, 2}, {1, 10}, {0, 3}}));
  EXPECT_EQ(logged(), (Lines{"1 switching to playback state node:100.000000 playback:100.000000", "1 Empty buffer!"}));
}

// Both are in the heap when the first of them ends with the call.
TEST_F(PacketPlayer, ADuplicateInTheHeapIsSkippedAsTooOld) {
  aupacketplayer_start(player_);
  play(10, kStart);
  play(10, kStart, 2.0f);
  get(10);
  logged();
  get(1);
  EXPECT_EQ(logged(), (Lines{"3 skipping too-old packet 100.000000", "1 Empty buffer!"}));
}

TEST_F(PacketPlayer, ADuplicateOfAStartedPacketIsRejectedAtOnce) {
  begin(10);
  get(5);
  play(10, kStart);
  get(1);
  EXPECT_EQ(logged(), (Lines{"3 rejecting packet 100.000000", "1 Empty buffer!"}));
}

TEST_F(PacketPlayer, AFullHeapLosesTheOldestOfAPassSilently) {
  aupacketplayer_start(player_);
  for (int i = 0; i < 70; ++i) play(1, kStart + (i + 1) / 44100.0, static_cast<float>(i));
  get(0);
  EXPECT_EQ(logged(), Lines{});
  EXPECT_EQ(first_packet(*player_).timestamp, kStart + 7 / 44100.0);  // of 70 the newest 64
}

TEST_F(PacketPlayer, AFlushDropsWhatIsHeldAndWaitsForTheNextPacketsTime) {
  begin(100);
  play(100, kStart + 1);
  get(50);
  EXPECT_EQ(player_->sample_buffer_count, 50);
  aupacketplayer_flush(player_);
  EXPECT_EQ(held_values_of(get(50)), (HeldValues{{1, 2}, {0, 48}}));  // two frames were in the converter
  EXPECT_EQ(logged(), Lines{"3 flushing buffered audio"});
  EXPECT_EQ(state(), State::buffering);
  EXPECT_EQ(player_->sample_buffer_count, 0);
  EXPECT_FALSE(has_packet(*player_));
  play(10, kStart + 0.5);
  get(10);
  EXPECT_EQ(state(), State::buffering);
  clock_.move(0.5);
  get(10);
  EXPECT_EQ(state(), State::playback);
}

TEST_F(PacketPlayer, WhatWasQueuedBeforeAFlushIsDroppedWithoutALine) {
  play(10, kStart);
  play(10, -1.0);  // would be rejected with a line
  aupacketplayer_flush(player_);
  get(10);
  EXPECT_EQ(logged(), Lines{"3 flushing buffered audio"});
  EXPECT_FALSE(has_packet(*player_));
}

TEST_F(PacketPlayer, WhatWasQueuedBehindAFlushAndIsTakenWithItIsDroppedToo) {
  aupacketplayer_flush(player_);
  play(10, kStart);
  get(10);
  EXPECT_FALSE(has_packet(*player_));
}

TEST_F(PacketPlayer, EachFlushOfAPassIsDone) {
  aupacketplayer_flush(player_);
  aupacketplayer_flush(player_);
  get(0);
  EXPECT_EQ(logged(), (Lines{"3 flushing buffered audio", "3 flushing buffered audio"}));
}

TEST_F(PacketPlayer, AFlushBeforeTheStartMakesThePlayerPlay) {
  aupacketplayer_flush(player_);
  get(0);
  EXPECT_EQ(state(), State::buffering);
  play(10, kStart);
  get(0);
  EXPECT_EQ(state(), State::playback);
}

TEST_F(PacketPlayer, PacketsOlderThanTheLastPlayedStayRejectedAfterAFlush) {
  begin(10);
  get(10);
  aupacketplayer_flush(player_);
  get(0);
  logged();
  EXPECT_EQ(player_->last_timestamp, kStart);
  play(10, kStart - 0.01);
  get(0);
  EXPECT_EQ(logged(), Lines{"3 rejecting packet 99.990000"});
}

TEST_F(PacketPlayer, AFlushLeavesTheControllerAndTheExpectedTimestamp) {
  begin(10);
  get(10);
  aupacketplayer_set_resample_continuously(player_, 1);
  player_->offset = 0.02;
  get(64);
  const double sum = player_->error_sum, correction = player_->rate_correction, error = player_->previous_error;
  EXPECT_NE(correction, 0.0);
  aupacketplayer_set_resample_continuously(player_, 0);
  aupacketplayer_flush(player_);
  get(64);
  EXPECT_EQ(player_->offset, 0.02);
  EXPECT_EQ(player_->error_sum, sum);
  EXPECT_EQ(player_->rate_correction, correction);
  EXPECT_EQ(player_->previous_error, error);
  EXPECT_EQ(player_->next_timestamp, kStart + static_cast<double>(10.0f / 44100.0f));
  play(10, kStart + 1.0);
  clock_.move(2);
  get(0);
  EXPECT_EQ(player_->next_timestamp, 0.0);  // the switch to playback does
}

TEST_F(PacketPlayer, RemovesPacketsBeforeATime) {
  for (int i = 0; i < 4; ++i) play(1, kStart + i);
  get(0);
  RemovePacketsUntilTime(*player_, kStart + 2);
  EXPECT_EQ(first_packet(*player_).timestamp, kStart + 2);
  RemovePacketsUntilTime(*player_, kStart + 9);
  EXPECT_FALSE(has_packet(*player_));
  RemovePacketsUntilTime(*player_, kStart + 9);
}

TEST_F(PacketPlayer, WithoutALogEverythingGoesOn) {
  aupacketplayer_destroy(player_);
  player_ = aupacketplayer_create(4, nullptr, nullptr, 44100.0f);
  begin(10);
  play(10, -1.0);
  aupacketplayer_flush(player_);
  get(10);
  EXPECT_EQ(state(), State::buffering);
}

}  // namespace
}  // namespace auspool::testing
