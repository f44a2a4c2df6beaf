// The older generation, its worker stepped by hand.
#include "auspool/audiskdelay.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "audiskdelay/backtrack.h"
#include "support/sound_server.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

using audiskdelay::make_delay;
using audiskdelay::pass;

TEST_F(Backtrack, RefusesWhatItCannotBe) {
  for (const float rate : {0.0f, -1.0f, 0.5f, std::nanf(""), 1e30f, 2.1e7f})
    EXPECT_EQ(audiskdelay_create(10, 1, nullptr, rate), nullptr) << rate;
  EXPECT_EQ(audiskdelay_create(0, 1, nullptr, 44100), nullptr);
  EXPECT_EQ(audiskdelay_create(-5, 1, nullptr, 44100), nullptr);
  audiskdelay_destroy(nullptr);
}

TEST_F(Backtrack, HasTheSizesThatItIsSaidToHave) {
  make(7, 1, 44100.9f);
  EXPECT_EQ(rbuffer_size(delay->write_ring.get()), 44100 * 4 * 10);
  EXPECT_EQ(rbuffer_size(delay->read_ring.get()), 44100 * 4 * 10);
  EXPECT_EQ(delay->file.ring_size(), 7u * 4 * 44100);
  make(7, 0, 44100.9f);
  EXPECT_EQ(rbuffer_size(delay->write_ring.get()), 44100 * 8 * 10);
  EXPECT_EQ(delay->file.ring_size(), 7u * 8 * 44100);
}

TEST_F(Backtrack, WithoutADelayAllIsMovedOnAtOnce) {
  make(5);
  EXPECT_EQ(run(20000), (Spans{{1, 20000}})) << "four times its size";
  EXPECT_EQ(info(), 0.0f);
}

TEST_F(Backtrack, GoesBackAndStaysThere) {
  for (const int compact : {1, 0}) {
    make(5, compact);
    last = 0;
    run(4000);
    EXPECT_EQ(audiskdelay_set_backtrack(delay.get(), 1.5f), 1.5f);
    EXPECT_EQ(info(), 1.5f);
    EXPECT_EQ(run(10000), (Spans{{2501, 10000}}));
    float max = 0, real = 0;
    EXPECT_EQ(info(&max, &real), 1.5f);
    EXPECT_EQ(max, 5.0f);
    EXPECT_EQ(real, 1.5f);
    EXPECT_EQ(audiskdelay_set_backtrack(delay.get(), 0), 0.0f);
    EXPECT_EQ(run(1000), (Spans{{14001, 1000}}));
  }
}

TEST_F(Backtrack, FloatsComeAsTheyWere) {
  make(5, 0);
  const std::vector<float> in = {1.5f, -3e-9f, 1e30f, 0.123456789f};
  std::vector<float> out(4);
  audiskdelay_write(delay.get(), in.data(), 2);
  settle();
  EXPECT_EQ(audiskdelay_read(delay.get(), out.data(), 2), 2);
  EXPECT_EQ(out, in);
}

TEST_F(Backtrack, GoesBackNoFurtherThanItHasAudio) {
  make(5);
  run(3000);
  EXPECT_EQ(audiskdelay_max_backtrack(delay.get()), 3.0f);
  EXPECT_EQ(audiskdelay_set_backtrack(delay.get(), 4.0f), 3.0f);
  EXPECT_EQ(delay->file.read_offset(), 0u);
  settle();
  EXPECT_EQ(read(100), (Spans{{1, 100}}));
  run(5000);
  EXPECT_EQ(audiskdelay_max_backtrack(delay.get()), 5.0f);
  EXPECT_EQ(audiskdelay_set_backtrack(delay.get(), INFINITY), 5.0f) << "the whole ring";
  settle();
  EXPECT_EQ(read(100), (Spans{{3001, 100}}));
  EXPECT_EQ(audiskdelay_set_backtrack(delay.get(), -1.0f), 0.0f);
  EXPECT_EQ(audiskdelay_set_backtrack(delay.get(), std::nanf("")), 0.0f);
}

TEST_F(Backtrack, WhatTheWorkerHasNotTakenYetIsAdded) {
  make(5);
  run(3000);
  write(500);
  EXPECT_EQ(audiskdelay_set_backtrack(delay.get(), 1.0f), 1.5f);
  settle();
  EXPECT_EQ(read(100), (Spans{{1501, 100}}));
}

TEST_F(Backtrack, AWriterThatOvertakesDropsTheOldest) {
  make(20);
  audiskdelay_set_backtrack(delay.get(), 20);
  for (int i = 0; i < 45; ++i) {
    write(1000);
    settle();
  }
  // The worker fills the read ring of ten seconds from a file of twenty; each time the file has run over, at 31 and 42
  // seconds, it begins anew with the oldest that is left.
  EXPECT_EQ(info(), 23.0f);
  EXPECT_EQ(read(2000), (Spans{{22001, 2000}}));
}

TEST_F(Backtrack, TellsOfEachSecondThatItGrows) {
  make(5);
  run(1000, 125);
  EXPECT_EQ(sizes, (std::vector<float>{})) << "more than a second";
  run(9000, 125);
  EXPECT_EQ(sizes, (std::vector<float>{1.125f, 2.25f, 3.375f, 4.5f})) << "the last half is no second more";
  EXPECT_TRUE(ends.empty());
}

TEST_F(Backtrack, AFullDiskIsItsNaturalEnd) {
  disk.room = 2500 * 4 + 3;
  make(5);
  Spans spans = run(10000);
  EXPECT_EQ(spans, (Spans{{1, 10000}})) << "nothing is lost";
  EXPECT_EQ(ends, (std::vector<float>{2.5f}));
  float max = 0;
  info(&max);
  EXPECT_EQ(max, 2.5f);
  EXPECT_EQ(audiskdelay_set_backtrack(delay.get(), 4), 2.5f);
  EXPECT_EQ(run(500), (Spans{{7601, 500}})) << "the first block took a tenth of a second from the far end";
}

TEST_F(Backtrack, AFullDiskEndsWithAWholeFrame) {
  disk.room = 2500 * 8 + 5;
  make(5, 0);
  EXPECT_EQ(run(10000), (Spans{{1, 10000}}));
  EXPECT_EQ(ends, (std::vector<float>{2.5f}));
  EXPECT_EQ(delay->file.ring_size(), 20000u);
}

TEST_F(Backtrack, AnyOtherFailureLosesTheBlockAlone) {
  make(5);
  run(1000);
  disk.write_error = EIO;
  EXPECT_EQ(run(500), Spans());
  disk.write_error = 0;
  EXPECT_EQ(run(500), (Spans{{1501, 500}}));
  disk.read_error = EIO;
  EXPECT_EQ(run(500), Spans());
  disk.read_error = 0;
  EXPECT_EQ(run(500), (Spans{{2001, 500}})) << "a read is tried again";
  EXPECT_EQ(info(), 0.5f);
}

TEST_F(Backtrack, WriteOnlyGivesNothingAndKeepsAll) {
  make(5);
  run(500);
  audiskdelay_set_backtrack(delay.get(), 0.3f);
  settle();
  audiskdelay_set_zero_delay_writeonly_mode(delay.get(), 1);
  write(2000);
  settle();
  std::vector<float> out(20, 7.0f);
  EXPECT_EQ(audiskdelay_read(delay.get(), out.data(), 10), 10);
  EXPECT_EQ(out[0], 0.0f);
  EXPECT_EQ(out[1], 0.0f);
  EXPECT_EQ(out[2], 7.0f) << "the rest is left as it was";
  EXPECT_EQ(info(), 0.0f);
  audiskdelay_set_zero_delay_writeonly_mode(delay.get(), 0);
  EXPECT_EQ(run(100), (Spans{{2501, 100}}));
  audiskdelay_set_backtrack(delay.get(), 2.0f);
  settle();
  EXPECT_EQ(read(100), (Spans{{601, 100}}));
}

TEST_F(Backtrack, QuitsAfterStoringWhatItTook) {
  make(5);
  write(100);
  delay->quit = 1;
  pass(*delay);
  EXPECT_EQ(delay->file.file_size(), 400u);
  EXPECT_EQ(rbuffer_used_space(delay->read_ring.get()), 0);
}

// ---- All of it ----

TEST(BacktrackOnDisk, RunsByItself) {
  ::audiskdelay *const delay = audiskdelay_create(10, 1, nullptr, 8000);
  ASSERT_TRUE(delay);
  std::vector<float> block(2 * 4000), out(block.size());
  for (std::size_t i = 0; i < 4000; ++i) put_frame(&block[2 * i], i + 1);
  audiskdelay_write(delay, block.data(), 4000);
  ASSERT_TRUE(eventually([&] { return audiskdelay_info(delay, nullptr, nullptr) == 0.5f; }));
  int done = 0;
  ASSERT_TRUE(eventually([&] {
    done += audiskdelay_read(delay, out.data() + 2 * done, 4000 - done);
    return done == 4000;
  }));
  EXPECT_EQ(out, block);
  EXPECT_EQ(audiskdelay_set_backtrack(delay, 0.25f), 0.25f);
  ASSERT_TRUE(eventually([&] { return audiskdelay_read(delay, out.data(), 1) == 1; }));
  EXPECT_EQ(number_of(out.data()), 2001);
  audiskdelay_destroy(delay);
}

TEST(BacktrackOnDisk, MemoryThatRunsOutLeavesNothing) {
  const audiskdelay_callbacks callbacks{};
  const int failed = fail_each_allocation([&] {
    ::audiskdelay *const delay = audiskdelay_create(1, 0, &callbacks, 100);
    audiskdelay_destroy(delay);
    return delay != nullptr;
  });
  EXPECT_GE(failed, 6);
}

TEST(BacktrackOnDisk, AThreadThatCannotBeHadLeavesNothing) {
  const long before = live_allocations();
  {
    const CallFailer failer("pthread_create", 1, EAGAIN);
    EXPECT_EQ(audiskdelay_create(1, 0, nullptr, 100), nullptr);
  }
  EXPECT_EQ(live_allocations(), before);
}

TEST(BacktrackOnDisk, ItsAudioThreadsAreSafeOnARealTimeThread) {
  char tag = 'x';
  const audiskdelay_callbacks callbacks{nullptr, nullptr, nullptr, [](void *, void *) {}};
  const auto delay = make_delay(5, 1, &callbacks, 8000);
  std::vector<float> block(2 * 1000);
  audiskdelay_add_oob_value(delay.get(), &tag, nullptr);
  for (int i = 0; i < 3; ++i) {
    {
      const RealtimeGuard guard;
      audiskdelay_write(delay.get(), block.data(), 1000);
      audiskdelay_read(delay.get(), block.data(), 300);
    }
    pass(*delay);
  }
}

}  // namespace
}  // namespace auspool::testing
