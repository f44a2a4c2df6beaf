// The workers of raesampler_single_shot: the same output whatever the threads, and none left behind.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/clock.h"
#include "support/chains.h"
#include "support/host_stream.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

std::size_t threads_of_this_process() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/task")) ++count;
  return count;
}

// Whether no more than so many threads are left. One that was joined is still listed for a moment.
bool threads_settle_at(std::size_t expected) {
  for (int tries = 0; tries < 10000 && threads_of_this_process() != expected; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return threads_of_this_process() == expected;
}

// A clock on which blocks take ever other times, so that both ways of running are found the faster one.
class ScriptedClock {
public:
  ScriptedClock() { platform::replace_clock(&source_); }
  ~ScriptedClock() { platform::replace_clock(nullptr); }

private:
  static std::uint64_t ticks(void *clock) {
    auto &self = *static_cast<ScriptedClock *>(clock);
    self.step_ = (self.step_ * 7 + 13) % 1000;
    return self.now_ += self.step_;
  }

  std::uint64_t now_ = 0;
  std::uint64_t step_ = 0;
  const platform::ClockSource source_ = {ticks, this, {1, 1}};
};

const precomputed_structure &chain() {
  static const precomputed_structure structure =
      precomputed_chain_of({filter_spec(2, 1, 99), sinc_spec(0.7, 63), filter_spec(3, 4, 99)});
  return structure;
}
constexpr double kRatio = 2 * 0.7 * 3 / 4;

}  // namespace

TEST(SingleShotThreads, TheOutputIsTheSameForAnyNumberOfThreads) {
  const ScriptedClock clock;
  for (const std::int32_t flags : {0, static_cast<std::int32_t>(RaesamplerQualityVeryHigh)}) {
    for (const std::size_t channels : {std::size_t{2}, std::size_t{5}}) {
      HostStream<float> alone(channels, 9000);
      alone.most = 400;
      ASSERT_EQ(alone.convert(&chain(), 1.0, kRatio, flags, 1), 0);
      for (const std::int32_t threads : {2, 5, 64}) {
        HostStream<float> together(channels, 9000);
        together.most = 400;
        ASSERT_EQ(together.convert(&chain(), 1.0, kRatio, flags, threads), 0);
        ASSERT_EQ(together.out, alone.out) << threads << " threads, " << channels << " channels";
      }
    }
  }
}

// As planned, with sections of long blocks for threads that no channel needs; and as long as the ratio makes it.
TEST(SingleShotThreads, PlannedStreamsAreTheSameForAnyNumberOfThreads) {
  const ScriptedClock clock;
  for (const std::int32_t quality : {1, 2, 3, 4}) {
    for (const std::size_t channels : {std::size_t{1}, std::size_t{2}}) {
      HostStream<float> alone(channels, 150000);
      alone.most = 40000;
      ASSERT_EQ(alone.convert(nullptr, 44100, 48000, quality, 1), 0);
      ASSERT_EQ(alone.out[0].size(), static_cast<std::size_t>(std::lround(150000 * 48000.0 / 44100)));
      for (const std::int32_t threads : {2, 4, 7}) {
        HostStream<float> together(channels, 150000);
        together.most = 40000;
        ASSERT_EQ(together.convert(nullptr, 44100, 48000, quality, threads), 0);
        ASSERT_EQ(together.out, alone.out) << threads << " threads, " << channels << " channels";
      }
    }
  }
}

// Large blocks are always converted side by side.
TEST(SingleShotThreads, LargeBlocksRunSideBySide) {
  const precomputed_structure half = precomputed_chain_of({filter_spec(1, 2, 15)});
  HostStream<float> alone(2, 1500000), together(2, 1500000);
  alone.most = together.most = 100000;
  ASSERT_EQ(alone.convert(&half, 2.0, 1.0, 0, 1), 0);
  ASSERT_EQ(together.convert(&half, 2.0, 1.0, 0, 2), 0);
  EXPECT_EQ(together.out, alone.out);
}

// Each channel but the first has a thread, or none has.
TEST(SingleShotThreads, WithFewerThreadsThanChannelsThereAreNone) {
  std::thread([] {}).join();  // with the first thread a sanitizer starts one of its own
  for (const auto &[threads, workers] : {std::pair(2, 0), {3, 0}, {4, 3}, {9, 3}}) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    HostStream<float> stream(4, 500);
    std::size_t most = 0;
    const std::size_t before = threads_of_this_process();
    stream.on_read = [&] { most = std::max(most, threads_of_this_process()); };
    ASSERT_EQ(stream.convert(&chain(), 1.0, kRatio, 0, threads), 0);
    EXPECT_EQ(most, before + static_cast<std::size_t>(workers)) << threads;
    EXPECT_TRUE(threads_settle_at(before));
  }
}

TEST(SingleShotThreads, NoThreadIsLeftWhenItReturns) {
  std::thread([] {}).join();  // with the first thread a sanitizer starts one of its own
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  const std::size_t before = threads_of_this_process();
  HostStream<float> stream(4, 5000);
  stream.most = 100;
  ASSERT_EQ(stream.convert(&chain(), 1.0, kRatio, 0, 4), 0);
  EXPECT_TRUE(threads_settle_at(before));
  stream.at = 0;
  stream.fail_at = 2000;
  EXPECT_EQ(stream.convert(&chain(), 1.0, kRatio, 0, 4), -1);
  EXPECT_TRUE(threads_settle_at(before));
}

// A worker that cannot be had is no failure: the channels follow one another then.
TEST(SingleShotThreads, WithoutMemoryForWorkersTheRunGoesOn) {
  HostStream<float> expected(2, 500);
  ASSERT_EQ(expected.convert(&chain(), 1.0, kRatio), 0);
  HostStream<float> stream(2, 500);
  for (auto &channel : stream.out) channel.reserve(1000);
  int survived = 0;
  for (int nth = 1;; ++nth) {
    stream.at = 0;
    for (auto &channel : stream.out) channel.clear();
    AllocationFailer failer(nth);
    const std::int32_t result = stream.convert(&chain(), 1.0, kRatio, 0, 2);
    if (!failer.failed()) break;
    if (result != 0) continue;
    ++survived;
    ASSERT_EQ(stream.out, expected.out);
  }
  EXPECT_GT(survived, 1);
}
