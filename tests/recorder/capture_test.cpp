// From the host's block to the ring.
#include <limits>

#include "recorder/bare_recorder.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

constexpr float kRate = 44100.0f;
constexpr std::size_t kSmallRing = 32768 / 8;  // frames

// What a host holds and the blocks that a test gives it.
struct Capture : ::testing::Test {
  void use_small_ring(std::int64_t bytes = 32768) {
    aurec_set_buffer_size(host, bytes);
    begin();
  }
  void begin() {
    recorder = &BareRecorder::on(host);
    recorder->pretend(kRate);
  }
  std::int32_t record(std::size_t frames, std::uint32_t seed = 1, float rate = kRate) {
    return host.record(noise(frames, seed), noise(frames, seed + 100), rate);
  }
  static Samples block(std::size_t frames, std::uint32_t seed) {
    return interleave(noise(frames, seed), noise(frames, seed + 100));
  }

  Host host;
  BareRecorder *recorder = nullptr;
};

TEST_F(Capture, ABlockArrivesInterleaved) {
  begin();
  for (const std::size_t frames : {1u, 255u, 256u, 257u, 1024u, 5000u}) {
    EXPECT_EQ(record(frames), 0);
    EXPECT_EQ(take_from_ring(host), block(frames, 1)) << frames;
  }
}

TEST_F(Capture, NothingIsKeptWithoutARecording) {
  EXPECT_EQ(record(10), 0);
  begin();
  recorder->recording = false;
  EXPECT_EQ(record(10), 0);
  EXPECT_EQ(frames_in_ring(host), 0);
}

TEST_F(Capture, NothingIsKeptWhilePaused) {
  begin();
  aurec_pause(host, 1);
  EXPECT_EQ(record(10), 0);
  EXPECT_EQ(frames_in_ring(host), 0);
  aurec_pause(host, 0);
  EXPECT_EQ(record(10), 0);
  EXPECT_EQ(frames_in_ring(host), 10);
}

TEST_F(Capture, NothingIsKeptOnceTheEndWasAskedFor) {
  begin();
  recorder->request_stop();
  EXPECT_EQ(record(10), 0);
  EXPECT_EQ(frames_in_ring(host), 0);
  EXPECT_EQ(aurec_is_recording(host), 0);
}

TEST_F(Capture, BlocksWithoutFramesOrChannelsAreNothing) {
  begin();
  const Samples samples(10);
  const float *const both[2] = {samples.data(), samples.data()};
  const float *const no_left[2] = {nullptr, samples.data()};
  const float *const no_right[2] = {samples.data(), nullptr};
  EXPECT_EQ(aurec_record(host, kRate, both, 0), 0);
  EXPECT_EQ(aurec_record(host, kRate, both, -1), 0);
  EXPECT_EQ(aurec_record(host, kRate, both, std::numeric_limits<std::int32_t>::min()), 0);
  EXPECT_EQ(aurec_record(host, kRate, no_left, 10), 0);
  EXPECT_EQ(aurec_record(host, kRate, no_right, 10), 0);
  EXPECT_EQ(aurec_record(host, kRate, nullptr, 10), 0);
  EXPECT_EQ(frames_in_ring(host), 0);
}

TEST_F(Capture, ABlockWithoutRoomIsCutShortAndSaysSo) {
  use_small_ring();
  EXPECT_EQ(record(kSmallRing - 10, 1), 0);
  EXPECT_EQ(record(30, 2), 1);
  EXPECT_EQ(record(5, 3), 1) << "not a frame fits any more";
  Samples expected = block(kSmallRing - 10, 1);
  const Samples tail = block(30, 2);
  expected.insert(expected.end(), tail.begin(), tail.begin() + 20);
  EXPECT_EQ(take_from_ring(host), expected);
}

// The host says more than it has: what does not fit is not even read.
TEST_F(Capture, AHugeBlockIsReadOnlyAsFarAsThereIsRoom) {
  use_small_ring();
  const Samples left = noise(kSmallRing, 1), right = noise(kSmallRing, 101);
  const float *const channels[2] = {left.data(), right.data()};
  EXPECT_EQ(aurec_record(host, kRate, channels, std::numeric_limits<std::int32_t>::max()), 1);
  EXPECT_EQ(take_from_ring(host), interleave(left, right));
}

// In a ring whose size is no multiple of a frame, a cut inside a frame would swap the channels from there on.
TEST_F(Capture, OnlyWholeFramesEnterARingOfAnySize) {
  for (const std::int64_t bytes : {32769, 32775, 33333}) {
    use_small_ring(bytes);
    for (std::uint32_t round = 1; round <= 20; ++round) {
      EXPECT_EQ(record(5000, round), 1);
      EXPECT_EQ(rbuffer_used_space(ring_of(host)) % 8, 0);
      const Samples expected = block(5000, round);
      Samples taken = take_from_ring(host);
      ASSERT_EQ(taken.size(), 2 * static_cast<std::size_t>(bytes / 8));
      ASSERT_EQ(taken, Samples(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(taken.size())));
    }
  }
}

TEST_F(Capture, AfterADropTheRingIsKeptUnlessTheHostWishesOtherwise) {
  for (const std::uint32_t action : {0u, 2u, 0xffffffffu}) {
    use_small_ring();
    aurec_set_skip_handler_action(host, action);
    EXPECT_EQ(record(kSmallRing + 1, 1), 1);
    rbuffer_read(ring_of(host), nullptr, 8 * 100);
    EXPECT_EQ(record(50, 2), 0);
    EXPECT_EQ(frames_in_ring(host), static_cast<std::int32_t>(kSmallRing) - 50);
  }
}

// Not at once: the block that did not fit is still written as far as it goes.
TEST_F(Capture, SkipAction1ThrowsTheRingAwayAtTheNextBlock) {
  use_small_ring();
  aurec_set_skip_handler_action(host, 1);
  EXPECT_EQ(record(kSmallRing + 1, 1), 1);
  EXPECT_EQ(frames_in_ring(host), static_cast<std::int32_t>(kSmallRing));
  EXPECT_EQ(record(50, 2), 0);
  EXPECT_EQ(take_from_ring(host), block(50, 2));
  EXPECT_EQ(record(50, 3), 0);
  EXPECT_EQ(record(50, 4), 0);
  EXPECT_EQ(frames_in_ring(host), 100) << "once is enough";
}

TEST_F(Capture, WhileTheControlThreadChangesTheRingABlockIsLost) {
  begin();
  aurec_set_skip_handler_action(host, 1);
  EXPECT_EQ(record(30, 1), 0);
  {
    const std::lock_guard lock(host.rec()->ext_vars.ring_lock);
    EXPECT_EQ(record(10, 2), 1);
  }
  EXPECT_EQ(record(10, 3), 0);
  EXPECT_EQ(frames_in_ring(host), 40) << "that was no overrun";
}

TEST_F(Capture, AnotherRateThrowsAwayWhatWaits) {
  begin();
  EXPECT_EQ(record(30, 1), 0);
  EXPECT_EQ(record(10, 2, 48000.0f), 0);
  EXPECT_EQ(take_from_ring(host), block(10, 2));
  EXPECT_EQ(recorder->rate_in, 48000.0f);
}

TEST_F(Capture, ABlockOfNoUsableRateIsDiscardedAndChangesNothing) {
  begin();
  EXPECT_EQ(record(30, 1), 0);
  const float infinity = std::numeric_limits<float>::infinity();
  for (const float rate : {0.0f, -44100.0f, 0.5f, 1.1e7f, infinity, -infinity, std::nanf("")}) {
    EXPECT_EQ(record(10, 2, rate), 0);
    EXPECT_EQ(recorder->rate_in, kRate) << rate;
    EXPECT_EQ(frames_in_ring(host), 30);
  }
}

TEST_F(Capture, TheFirstBlockOfAnUnknownRateOnlyTellsIt) {
  begin();
  recorder->rate_in = 0.0f;
  EXPECT_EQ(record(10, 1, std::nanf("")), 0);
  EXPECT_EQ(recorder->rate_in, 0.0f) << "that told nothing";
  EXPECT_EQ(record(10, 1, 32000.0f), 0);
  EXPECT_EQ(frames_in_ring(host), 0);
  EXPECT_EQ(recorder->rate_in, 32000.0f);
  EXPECT_EQ(record(10, 2, 32000.0f), 0);
  EXPECT_EQ(take_from_ring(host), block(10, 2));
}

TEST_F(Capture, AllocatesNothingAndTakesNoLock) {
  use_small_ring();
  const Samples left = noise(2000, 1), right = noise(2000, 2), quiet(2000);
  aurec_set_skip_handler_action(host, 1);
  const RealtimeGuard guard;
  const float *const sound[2] = {left.data(), right.data()};
  const float *const silence[2] = {quiet.data(), quiet.data()};
  for (std::int32_t mode = 0; mode <= 3; ++mode) {
    aurec_set_silence_killer(host, mode, -60.0f, 0.02f);
    for (int i = 0; i < 5; ++i) aurec_record(host, kRate, sound, 2000);
    for (int i = 0; i < 5; ++i) aurec_record(host, 48000.0f, silence, 2000);
  }
  aurec_is_recording(host);
  aurec_file_time(host);
}

TEST_F(Capture, MakesNoSystemCall) {
  use_small_ring();
  const Samples left = noise(2000, 1), right = noise(2000, 2);
  const float *const channels[2] = {left.data(), right.data()};
  const bool possible = run_without_system_calls([&] {
    for (int i = 0; i < 10; ++i) aurec_record(host, kRate, channels, 2000);
    aurec_record(host, 48000.0f, channels, 2000);
  });
  if (!possible) GTEST_SKIP() << "system calls cannot be refused here";
}

// The filter of the test above lets a wake-up pass; but there must be none.
TEST_F(Capture, DoesNotWakeAWorkerThatIsAwake) {
  begin();
  for (int i = 0; i < 10; ++i) EXPECT_EQ(record(100), 0);
  EXPECT_FALSE(host.rec()->ext_vars.semaphore.wait_for(std::chrono::seconds(0)));
}

}  // namespace
