#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <random>
#include <thread>

#include "auspool/rbuffer.h"
#include "buffers/ring.h"

namespace auspool {
namespace {

constexpr std::uint32_t kNumbers = 400000;
constexpr std::int32_t kUnit = sizeof(std::uint32_t);
constexpr std::int32_t kSize = 1000 * kUnit;
constexpr std::size_t kBlock = 300;  // numbers

using Block = std::array<std::uint32_t, kBlock>;

// Number i goes through the ring as i, and through the second plane as its complement.
struct OnePlane {
  rbuffer *ring = rbuffer_create(kSize, 0);
  ~OnePlane() { rbuffer_destroy(ring); }

  std::int32_t write(const Block &block, std::int32_t bytes) { return rbuffer_write(ring, block.data(), bytes); }
  std::int32_t read(Block &block, std::int32_t bytes) { return rbuffer_read(ring, block.data(), bytes); }
  void flush() { rbuffer_flush(ring); }
  void flush_w() { rbuffer_flush_w(ring); }
};

struct TwoPlanes {
  rbuffer2 *ring = rbuffer2_create(kSize, 0);
  ~TwoPlanes() { rbuffer2_destroy(ring); }

  std::int32_t write(const Block &block, std::int32_t bytes) {
    Block other;
    for (std::size_t i = 0; i < kBlock; ++i) other[i] = ~block[i];
    return rbuffer2_write(ring, block.data(), other.data(), bytes);
  }
  std::int32_t read(Block &block, std::int32_t bytes) {
    Block other = {};
    const std::int32_t count = rbuffer2_read(ring, block.data(), other.data(), bytes);
    for (std::size_t i = 0; i < static_cast<std::size_t>(count / kUnit); ++i) {
      if (block[i] != ~other[i]) block[i] = kNumbers;  // not a number that was written
    }
    return count;
  }
  void flush() { rbuffer2_flush(ring); }
  void flush_w() { rbuffer2_flush_w(ring); }
};

// Writes all numbers in blocks of random length. With `flushes`, drops what waits now and then.
template <typename Ring>
void write_all(Ring &ring, bool flushes) {
  std::minstd_rand random(1);
  Block block;
  for (std::uint32_t next = 0; next < kNumbers;) {
    const std::uint32_t wanted =
        static_cast<std::uint32_t>(std::min<std::size_t>(1 + random() % kBlock, kNumbers - next));
    for (std::uint32_t i = 0; i < wanted; ++i) block[i] = next + i;
    const std::int32_t written = ring.write(block, static_cast<std::int32_t>(wanted) * kUnit);
    if (written == 0) std::this_thread::yield();
    next += static_cast<std::uint32_t>(written / kUnit);
    if (flushes && random() % 16 == 0) ring.flush_w();
  }
}

struct Seen {
  std::uint32_t numbers = 0;
  bool rising = true;
  bool whole = true;  // only whole units, and only numbers that were written
};

// Reads until `done` and nothing is left.
template <typename Ring>
Seen read_all(Ring &ring, const std::atomic<bool> &done, bool flushes) {
  std::minstd_rand random(2);
  Block block;
  Seen seen;
  for (std::uint32_t expected = 0;;) {
    const bool last = done.load(std::memory_order_acquire);
    const std::int32_t read = ring.read(block, static_cast<std::int32_t>(1 + random() % kBlock) * kUnit);
    seen.whole = seen.whole && read % kUnit == 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(read / kUnit); ++i, ++seen.numbers) {
      seen.rising = seen.rising && block[i] >= expected;
      seen.whole = seen.whole && block[i] < kNumbers;
      expected = block[i] + 1;
    }
    if (read == 0 && last) return seen;
    if (read == 0) std::this_thread::yield();
    if (flushes && random() % 16 == 0) ring.flush();
  }
}

// Passes all numbers from one thread to another and returns how many came out.
template <typename Ring>
std::uint32_t pass_through(bool writer_flushes, bool reader_flushes) {
  Ring ring;
  std::atomic<bool> done = false;
  std::thread writer([&] {
    write_all(ring, writer_flushes);
    done.store(true, std::memory_order_release);
  });
  const Seen seen = read_all(ring, done, reader_flushes);
  writer.join();
  EXPECT_TRUE(seen.rising);
  EXPECT_TRUE(seen.whole);
  EXPECT_EQ(ring.ring->free_space.load(), kSize);
  return seen.numbers;
}

TEST(RingThreads, EveryByteArrivesInOrder) {
  EXPECT_EQ(pass_through<OnePlane>(false, false), kNumbers);
  EXPECT_EQ(pass_through<TwoPlanes>(false, false), kNumbers);
}

TEST(RingThreads, AWriterThatFlushesLosesWholeBytesOnly) {
  pass_through<OnePlane>(true, false);
  pass_through<TwoPlanes>(true, false);
}

TEST(RingThreads, AReaderThatFlushesKeepsInStep) {
  pass_through<OnePlane>(false, true);
  pass_through<TwoPlanes>(false, true);
}

TEST(RingThreads, AFlushWaitsForAReadToEnd) {
  OnePlane ring;
  Block block = {1, 2, 3};
  ring.write(block, 12);
  ASSERT_TRUE(ring.ring->read_lock.try_lock());  // as a read does
  std::atomic<bool> flushed = false;
  std::thread other([&] {
    ring.flush();
    flushed = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(2));
  EXPECT_FALSE(flushed);
  EXPECT_EQ(rbuffer_used_space(ring.ring), 12);
  ring.ring->read_lock.unlock();
  other.join();
  EXPECT_EQ(rbuffer_used_space(ring.ring), 0);
}

}  // namespace
}  // namespace auspool
