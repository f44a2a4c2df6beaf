#include "audiskdelay/audio_side.h"

#include <gtest/gtest.h>

#include <memory>

#include "base/handle.h"
#include "support/watch.h"

namespace auspool::audiskdelay {
namespace {

using Ring = std::unique_ptr<rbuffer, DestroyWith<rbuffer_destroy>>;

std::vector<float> ramp(int frames) {
  std::vector<float> samples(static_cast<std::size_t>(2 * frames));
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<float>(i % 60000) / 32768.0f - 0.9f;
  return samples;
}

TEST(DelayAudioSide, FramesOfFourBytesPassAs16Bits) {
  const Ring ring(rbuffer_create(4 * 5000, 0));
  const std::vector<float> in = ramp(5000);
  EXPECT_EQ(write_frames(*ring, 4, in.data(), 5000), 5000);
  std::vector<float> out(in.size(), 9.0f);
  EXPECT_EQ(read_frames(*ring, 4, out.data(), 5000), 5000);
  for (std::size_t i = 0; i < in.size(); ++i) {
    EXPECT_LE(std::abs(out[i]), std::abs(in[i]));
    ASSERT_NEAR(out[i], in[i], 1.0f / 32768);
    ASSERT_EQ(out[i] * 32768.0f, std::round(out[i] * 32768.0f));
  }
}

TEST(DelayAudioSide, FramesOfEightBytesPassAsTheyAre) {
  const Ring ring(rbuffer_create(8 * 5000, 0));
  std::vector<float> in = ramp(5000);
  in[7] = 1000.5f;
  write_frames(*ring, 8, in.data(), 5000);
  std::vector<float> out(in.size());
  EXPECT_EQ(read_frames(*ring, 8, out.data(), 5000), 5000);
  EXPECT_EQ(out, in);
}

TEST(DelayAudioSide, ReadingGivesWhatThereIs) {
  const Ring ring(rbuffer_create(4 * 100, 0));
  const std::vector<float> in = ramp(30);
  std::vector<float> out(200);
  EXPECT_EQ(read_frames(*ring, 4, out.data(), 10), 0);
  write_frames(*ring, 4, in.data(), 30);
  EXPECT_EQ(read_frames(*ring, 4, out.data(), 20), 20);
  EXPECT_EQ(read_frames(*ring, 4, out.data(), 20), 10);
  EXPECT_EQ(read_frames(*ring, 4, out.data(), 0), 0);
  EXPECT_EQ(read_frames(*ring, 4, out.data(), -5), 0);
}

TEST(DelayAudioSide, HalfAFrameIsNotGiven) {
  const Ring ring(rbuffer_create(100, 0));
  const char bytes[7] = {};
  rbuffer_write(ring.get(), bytes, 7);
  float out[8];
  EXPECT_EQ(read_frames(*ring, 4, out, 4), 1);
  EXPECT_EQ(rbuffer_used_space(ring.get()), 3);
}

TEST(DelayAudioSide, NoFramesAreNothing) {
  const Ring ring(rbuffer_create(100, 0));
  EXPECT_EQ(write_frames(*ring, 4, nullptr, 0), 0);
  EXPECT_EQ(write_frames(*ring, 4, nullptr, -1), -1);
  EXPECT_EQ(rbuffer_used_space(ring.get()), 0);
}

TEST(DelayAudioSide, WritingWaitsUntilAllIsIn) {
  const Ring ring(rbuffer_create(4 * 10, 0));
  const std::vector<float> in = ramp(5000);
  std::vector<float> out(in.size());
  std::thread reader([&] {
    for (int done = 0; done < 5000; std::this_thread::yield())
      done += read_frames(*ring, 4, out.data() + 2 * done, 5000 - done);
  });
  EXPECT_EQ(write_frames(*ring, 4, in.data(), 5000), 5000);
  reader.join();
  EXPECT_NEAR(out.back(), in.back(), 1.0f / 32768);
}

TEST(DelayAudioSide, DiscardingClearsTheFirstFrameAlone) {
  const Ring ring(rbuffer_create(100, 0));
  const std::vector<float> in = ramp(10);
  write_frames(*ring, 4, in.data(), 10);
  std::vector<float> out(8, 5.0f);
  EXPECT_EQ(discard_frames(*ring, out.data(), 4), 4);
  EXPECT_EQ(out, (std::vector<float>{0, 0, 5, 5, 5, 5, 5, 5}));
  EXPECT_EQ(rbuffer_used_space(ring.get()), 0);
  EXPECT_EQ(discard_frames(*ring, nullptr, 0), 0);
}

TEST(DelayAudioSide, IsSafeOnARealTimeThread) {
  const Ring ring(rbuffer_create(8 * 5000, 0));
  const std::vector<float> in = ramp(2000);
  std::vector<float> out(in.size());
  const auto body = [&] {
    for (const std::int32_t frame_bytes : {4, 8}) {
      write_frames(*ring, frame_bytes, in.data(), 2000);
      read_frames(*ring, frame_bytes, out.data(), 1500);
      discard_frames(*ring, out.data(), 10);
    }
  };
  {
    const testing::RealtimeGuard guard;
    body();
  }
  if (!testing::run_without_system_calls(body)) GTEST_SKIP() << "system calls cannot be refused here";
}

TEST(DelayAudioSide, AWriterThatWaitsOnlySleeps) {
  const Ring ring(rbuffer_create(4, 0));
  const std::vector<float> in = ramp(3);
  std::thread reader([&] {
    float out[2];
    for (int done = 0; done < 3; std::this_thread::yield()) done += read_frames(*ring, 4, out, 1);
  });
  {
    const testing::RealtimeGuard guard("usleep");
    write_frames(*ring, 4, in.data(), 3);
  }
  reader.join();
}

}  // namespace
}  // namespace auspool::audiskdelay
