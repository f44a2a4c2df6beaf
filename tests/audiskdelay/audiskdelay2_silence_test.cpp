// What the second generation makes of silence.
#include "audiskdelay/delay2.h"

namespace auspool::testing {
namespace {

using audiskdelay::pass;

class Delay2Silence : public Delay2 {
protected:
  // Bytes of audio that the store has room for: what silence does not take.
  std::uint64_t file_size() const {
    std::uint64_t bytes = 0;
    audiskdelay::BTAudioBufferGetInfo(delay->store.get(), nullptr, nullptr, &bytes);
    return bytes;
  }
  // The record at a frame of the store: how long it goes on from there.
  std::uint32_t record_at(std::uint64_t frame) const {
    std::uint32_t frames = 0;
    EXPECT_TRUE(audiskdelay::BTAudioBufferRead(delay->store.get(), &frame, nullptr, nullptr, &frames, nullptr));
    return frames;
  }
};

TEST_F(Delay2Silence, ASecondIsStoredAsAudioAndTheRestAsARecord) {
  make(36000);
  write(500);
  settle();
  for (int i = 0; i < 9; ++i) {
    write_silence(100);
    settle();
  }
  EXPECT_EQ(delay->silent_frames, 900u);
  EXPECT_EQ(record_at(0), 1400u) << "one record of audio";
  write_silence(100);
  settle();
  EXPECT_EQ(record_at(0), 1400u) << "the block that completes the second is a record of silence already";
  EXPECT_EQ(record_at(1400), 100u);
  for (int i = 0; i < 1000; ++i) {
    write_silence(1000);
    settle();
    read(1000);
  }
  EXPECT_EQ(record_at(1400), 1000100u) << "which grows";
  EXPECT_LE(file_size(), 2u * 131072);
  write(100);
  settle();
  EXPECT_EQ(length(), 1001600u);
  EXPECT_EQ(record_at(1001500), 100u);
  set(1.0f);
  settle();
  EXPECT_EQ(read(1000), (Spans{{0, 900}, {501, 100}})) << "it reads back as zeros";
}

TEST_F(Delay2Silence, APassReadsNotBeyondARecord) {
  make(60);
  write(500);
  settle();
  for (int i = 0; i < 20; ++i) {
    write_silence(100);
    settle();
  }
  read(2500);
  set(1.5f);  // from 1000 on, where audio lasts until 1400
  EXPECT_TRUE(pass(*delay));
  EXPECT_EQ(rbuffer_used_space(delay->read_ring.get()), 4 * 400);
  EXPECT_TRUE(pass(*delay));
  EXPECT_EQ(rbuffer_used_space(delay->read_ring.get()), 4 * 1500);
  EXPECT_FALSE(pass(*delay));
}

TEST_F(Delay2Silence, ASingleSampleBeginsTheRunAnew) {
  make(60);
  write_silence(900);
  settle();
  std::vector<float> block(2 * 90);
  block[179] = 1.0f / 32768;
  audiskdelay2_write(delay.get(), block.data(), 90);
  settle();
  EXPECT_EQ(delay->silent_frames, 0u);
  write_silence(900);
  settle();
  EXPECT_EQ(delay->silent_frames, 900u);
  EXPECT_EQ(record_at(0), 1890u) << "all of it audio";
}

TEST_F(Delay2Silence, WhatIsBelowOneStepIsSilence) {
  make(60);
  const std::vector<float> faint(200, 0.99f / 32768);
  audiskdelay2_write(delay.get(), faint.data(), 100);
  settle();
  EXPECT_EQ(delay->silent_frames, 100u);
  EXPECT_EQ(read(100), (Spans{{0, 100}}));
}

}  // namespace
}  // namespace auspool::testing
