#include "auspool/audiskdelay2.h"

#include "audiskdelay/BTAudioBuffer/context.h"
#include "audiskdelay/delay2.h"
#include "audiskdelay/failing_disk.h"
#include "audiskdelay/pcm16.h"
#include "support/login_service.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

using audiskdelay::pass;

TEST_F(Delay2, RefusesWhatItCannotBe) {
  for (const float rate : {0.0f, -1.0f, 0.5f, std::nanf(""), 1e30f, 2.1e7f})
    EXPECT_EQ(audiskdelay2_create(10, nullptr, rate), nullptr) << rate;
  EXPECT_EQ(audiskdelay2_create(0, nullptr, 44100), nullptr);
  EXPECT_EQ(audiskdelay2_create(-5, nullptr, 44100), nullptr);
  audiskdelay2_destroy(nullptr);
}

TEST_F(Delay2, HasTheSizesThatItIsSaidToHave) {
  make(7, 44100.9f);
  EXPECT_EQ(delay->bytes_per_frame, 4);
  EXPECT_EQ(rbuffer_size(delay->write_ring.get()), 44100 * 40);
  EXPECT_EQ(rbuffer_size(delay->read_ring.get()), 44100 * 40);
  EXPECT_EQ(delay->silence_threshold, 44100u);
  EXPECT_EQ(delay->max_frames, 308706u) << "the whole product is cut off";
}

TEST_F(Delay2, WithoutADelayAllIsMovedOnAtOnce) {
  make(60);
  write(700);
  EXPECT_EQ(delay->delay_frames, 0u) << "the worker has not seen it";
  settle();
  EXPECT_EQ(delay->delay_frames, 0u);
  EXPECT_EQ(rbuffer_used_space(delay->read_ring.get()), 2800);
  EXPECT_EQ(info(), 0.7f) << "what waits in the ring is held back too";
  EXPECT_EQ(read(700), (Spans{{1, 700}}));
  EXPECT_EQ(info(), 0.0f);
}

TEST_F(Delay2, WhatIsWrittenIsHeldBackUntilTheReaderTakesIt) {
  make(60);
  for (int second = 1; second <= 14; ++second) {
    write(1000);
    settle();
    EXPECT_EQ(info(), static_cast<float>(second));
  }
  EXPECT_EQ(delay->delay_frames, 4000u) << "ten seconds fit the ring";
  EXPECT_EQ(run(8000), (Spans{{1, 8000}}));
  EXPECT_EQ(info(), 14.0f) << "with a constant reader it is constant";
}

TEST_F(Delay2, APassMovesASliceAtMost) {
  make(60);
  write(9000);
  EXPECT_TRUE(pass(*delay));
  EXPECT_EQ(rbuffer_used_space(delay->write_ring.get()), 36000 - 16384);
  EXPECT_EQ(rbuffer_used_space(delay->read_ring.get()), 16384);
  settle();
  set(8.5f);
  EXPECT_TRUE(pass(*delay));
  EXPECT_EQ(rbuffer_used_space(delay->read_ring.get()), 16384);
}

TEST_F(Delay2, APassLeavesRoomForASingleFrame) {
  make(60);
  write(9000);
  settle();
  write(2000);
  settle();
  ASSERT_EQ(rbuffer_free_space(delay->read_ring.get()), 0);
  read(1);
  EXPECT_FALSE(pass(*delay));
  EXPECT_EQ(delay->delay_frames, 1000u);
  read(1);
  EXPECT_TRUE(pass(*delay));
  EXPECT_EQ(delay->delay_frames, 998u);
}

TEST_F(Delay2, GoesBackAndStaysThere) {
  make(60);
  run(30000);
  EXPECT_EQ(set(12.5f), 12.5f);
  EXPECT_EQ(info(), 12.5f);
  EXPECT_EQ(run(10000), (Spans{{17501, 10000}}));
  EXPECT_EQ(info(), 12.5f);
  EXPECT_EQ(set(0), 0.0f);
  EXPECT_EQ(run(1000), (Spans{{40001, 1000}}));
}

TEST_F(Delay2, ADelayBeyondWhatTheStoreHoldsIsLimitedToIt) {
  make(60);
  run(5000);
  EXPECT_EQ(set(7), 5.0f);
  settle();
  EXPECT_EQ(read(100), (Spans{{1, 100}}));
  EXPECT_EQ(set(INFINITY), 5.0f);
  EXPECT_EQ(audiskdelay2_max_delay(delay.get()), 5.0f);
  EXPECT_EQ(set(-3), 0.0f);
  EXPECT_EQ(set(std::nanf("")), 0.0f);
}

TEST_F(Delay2, SecondsAreOfSinglePrecisionAndCutOffToFrames) {
  make(60, 44100);
  write(50000);
  settle();
  set(0.7f);
  EXPECT_EQ(delay->delay_frames, 30869u) << "0.7f is a little less than 0.7";
}

TEST_F(Delay2, TheSameDelayAgainChangesNothing) {
  make(60);
  run(30000);
  set(5);
  settle();
  const std::int32_t waiting = rbuffer_used_space(delay->read_ring.get());
  ASSERT_EQ(waiting, 20000);
  EXPECT_EQ(set(5), 5.0f);
  EXPECT_EQ(rbuffer_used_space(delay->read_ring.get()), waiting) << "the read ring was not flushed";
  EXPECT_EQ(set(5.25f), 5.25f);
  EXPECT_EQ(rbuffer_used_space(delay->read_ring.get()), 0);
}

TEST_F(Delay2, ADelayShorterThanWhatWaitsToBeReadFlushes) {
  make(60);
  run(30000);
  set(5);
  settle();
  EXPECT_EQ(set(3), 3.0f);
  EXPECT_EQ(rbuffer_used_space(delay->read_ring.get()), 0);
  settle();
  EXPECT_EQ(read(100), (Spans{{27001, 100}}));
}

TEST_F(Delay2, TheStoreAloneIsCountedAgainstItsLength) {
  make(60);
  run(20000);
  set(20);
  delay->delay_frames = 25000;  // more than the store holds
  EXPECT_EQ(info(), 20.0f);
}

TEST_F(Delay2, LosesTheOldestWhenNobodyReads) {
  make(60);
  for (int i = 0; i < 150; ++i) {
    write(1000);
    settle();
    ASSERT_LE(length(), 60000u);
    ASSERT_LE(delay->delay_frames, length());
  }
  const float held = audiskdelay2_max_delay(delay.get());
  EXPECT_GT(held, 60.0f - 32.766f) << "it goes by whole records";
  EXPECT_LE(info(), held + 10.0f);
  const Spans spans = read(1000);
  ASSERT_EQ(spans.size(), 1u);
  EXPECT_EQ(spans[0].first, std::llround(150001 - 1000 * info()) - 1000);
}

TEST_F(Delay2, TellsOfEachSecondThatItGrowsOrShrinks) {
  make(60);
  run(875, 125);
  EXPECT_TRUE(sizes.empty());
  run(2125, 125);
  EXPECT_EQ(sizes, (std::vector<float>{1.0f, 2.0f, 3.0f}));
  run(60000, 125);
  const auto drop = std::adjacent_find(sizes.begin(), sizes.end(), std::greater<>());
  ASSERT_NE(drop, sizes.end()) << "a record was cut off";
  EXPECT_GE(drop[0] - drop[1], 1.0f);
}

TEST_F(Delay2, WhatTheStoreRefusesIsNotHeldBack) {
  Disk disk;
  disk.write_error = EIO;
  make(3600);
  delay->store->file = std::make_unique<FileOnDisk>(disk);
  for (int i = 0; i < 1200; ++i) {
    write(1000);
    do {
      delay->store->consuming = 1;  // no room is made of older audio
    } while (pass(*delay));
    if (i == 5) {
      EXPECT_EQ(read(5000), (Spans{{1, 5000}}));
    }
  }
  EXPECT_LT(length(), 1190000u) << "there was no room for all";
  EXPECT_EQ(read(5000), (Spans{{5001, 5000}})) << "what waits to be read goes on where it was";
}

// The store's own records are in the same file: it cannot go on.
TEST_F(Delay2, EndsTheProcessWhereTheFileCannotBeRead) {
  Disk disk;
  make(3600);
  delay->store->file = std::make_unique<FileOnDisk>(disk);
  run(1500000, 5000);  // more than memory holds
  disk.read_error = EIO;
  set(1500);
  EXPECT_DEATH(settle(), "read == \\(ssize_t\\)kBTAudioBlockSize");
}

// ---- Samples ----

TEST_F(Delay2, SixteenBitsComeBackExactly) {
  make(60, 40000);
  std::vector<float> in(65536), out(65536);
  for (int i = 0; i < 65536; ++i) in[static_cast<std::size_t>(i)] = static_cast<float>(i - 32768) / 32768.0f;
  audiskdelay2_write(delay.get(), in.data(), 32768);
  settle();
  EXPECT_EQ(audiskdelay2_read(delay.get(), out.data(), 40000), 32768);
  EXPECT_EQ(out, in);
}

// ---- Write-only ----

TEST_F(Delay2, WriteOnlyGivesNothingAndKeepsAll) {
  make(60);
  run(500);
  set(0.3f);
  settle();
  audiskdelay2_set_zero_delay_writeonly_mode(delay.get(), 1);
  for (int i = 0; i < 4; ++i) {
    write(5000);
    settle();
  }
  EXPECT_EQ(delay->delay_frames, 0u);
  std::vector<float> out(20, 7.0f);
  EXPECT_EQ(audiskdelay2_read(delay.get(), out.data(), 10), 10);
  EXPECT_EQ(out[0], 0.0f);
  EXPECT_EQ(out[1], 0.0f);
  EXPECT_EQ(out[2], 7.0f) << "the rest is left as it was";
  EXPECT_EQ(rbuffer_used_space(delay->read_ring.get()), 0);
  EXPECT_EQ(info(), 0.0f);
  audiskdelay2_set_zero_delay_writeonly_mode(delay.get(), 0);
  EXPECT_EQ(run(100), (Spans{{20501, 100}}));
  EXPECT_EQ(set(20.0f), 20.0f);
  settle();
  EXPECT_EQ(read(100), (Spans{{601, 100}}));
}

// ---- All of it ----

TEST(Delay2WithoutABus, RunsByItself) {
  const NoBus no_bus;
  audiskdelay2 *const delay = audiskdelay2_create(60, nullptr, 8000);
  ASSERT_TRUE(delay);
  std::vector<float> block(2 * 4000), out(block.size());
  for (std::size_t i = 0; i < 4000; ++i) put_frame(&block[2 * i], i + 1);
  audiskdelay2_write(delay, block.data(), 4000);
  int done = 0;
  ASSERT_TRUE(eventually([&] {
    done += audiskdelay2_read(delay, out.data() + 2 * done, 4000 - done);
    return done == 4000;
  }));
  EXPECT_EQ(out, block);
  EXPECT_EQ(audiskdelay2_set_delay(delay, 0.25f), 0.25f);
  ASSERT_TRUE(eventually([&] { return audiskdelay2_read(delay, out.data(), 1) == 1; }));
  EXPECT_EQ(number_of(out.data()), 2001);
  float max = 0;
  audiskdelay2_info(delay, &max, nullptr);
  EXPECT_EQ(max, 60.0f);
  audiskdelay2_destroy(delay);
}

TEST(Delay2WithoutABus, MemoryThatRunsOutLeavesNothing) {
  const NoBus no_bus;
  const int failed = fail_each_allocation([] {
    audiskdelay2 *const delay = audiskdelay2_create(1, nullptr, 100);
    audiskdelay2_destroy(delay);
    return delay != nullptr;
  });
  EXPECT_GE(failed, 7);
}

TEST(Delay2WithoutABus, AThreadThatCannotBeHadLeavesNothing) {
  const NoBus no_bus;
  for (const int nth : {1, 2}) {
    const long before = live_allocations();
    {
      const CallFailer failer("pthread_create", nth, EAGAIN);
      EXPECT_EQ(audiskdelay2_create(1, nullptr, 100), nullptr) << nth;
    }
    EXPECT_EQ(live_allocations(), before);
  }
}

TEST_F(Delay2, ItsAudioThreadsAreSafeOnARealTimeThread) {
  make(60, 8000);
  std::vector<float> block(2 * 1000);
  for (int i = 0; i < 3; ++i) {
    {
      const RealtimeGuard guard;
      audiskdelay2_write(delay.get(), block.data(), 1000);
      audiskdelay2_read(delay.get(), block.data(), 300);
      audiskdelay2_set_zero_delay_writeonly_mode(delay.get(), i == 1);
    }
    pass(*delay);
  }
}

TEST_F(Delay2, QuitsWithoutStoringWhatItTook) {
  make(60);
  write(100);
  delay->quit = 1;
  pass(*delay);
  EXPECT_EQ(length(), 0u);
}

}  // namespace
}  // namespace auspool::testing
