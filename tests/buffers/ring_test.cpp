#include "buffers/ring.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <limits>
#include <memory>
#include <numeric>

#include "buffers/ring_adaptors.h"
#include "support/watch.h"

namespace auspool {
namespace {

using testing::Bytes;
using testing::OnePlane;
using testing::TwoPlanes;

constexpr std::int32_t kHuge = std::numeric_limits<std::int32_t>::max();

Bytes counting(std::size_t count, int from = 1) {
  Bytes bytes(count);
  std::iota(bytes.begin(), bytes.end(), static_cast<std::uint8_t>(from));
  return bytes;
}

template <typename Planes>
class Ring : public ::testing::Test {
protected:
  using Record = typename Planes::Ring;
  using Handle = std::unique_ptr<Record, void (*)(Record *)>;

  static Handle make(std::int32_t size, std::int32_t lock_memory = 0) {
    return Handle(Planes::create(size, lock_memory), Planes::destroy);
  }

  // Up to `count` bytes that come out of the ring.
  static Bytes read(const Handle &ring, std::size_t count) {
    Bytes bytes(count, 0xaa);
    bytes.resize(static_cast<std::size_t>(Planes::read(ring.get(), bytes)));
    return bytes;
  }

  // A ring whose next byte goes to `position`.
  static Handle make_at(std::int32_t size, std::int32_t position) {
    Handle ring = make(size);
    EXPECT_EQ(Planes::write(ring.get(), Bytes(static_cast<std::size_t>(position))), position);
    EXPECT_EQ(Planes::drop(ring.get(), position), position);
    return ring;
  }
};

using BothRings = ::testing::Types<OnePlane, TwoPlanes>;
TYPED_TEST_SUITE(Ring, BothRings);

TYPED_TEST(Ring, TakesExactlyItsSizeInOneWrite) {
  const auto ring = this->make(8);
  EXPECT_EQ(TypeParam::write(ring.get(), counting(8)), 8);
  EXPECT_EQ(ring->write_pos, 0);
  EXPECT_EQ(TypeParam::free_space(ring.get()), 0);
  EXPECT_EQ(TypeParam::used_space(ring.get()), 8);
  EXPECT_EQ(TypeParam::write(ring.get(), counting(1)), 0);
  EXPECT_EQ(this->read(ring, 8), counting(8));
  EXPECT_EQ(ring->read_pos, 0);
}

TYPED_TEST(Ring, AnExactFitWrapsToTheStart) {
  const auto ring = this->make_at(16, 10);
  EXPECT_EQ(TypeParam::write(ring.get(), counting(6)), 6);
  EXPECT_EQ(ring->write_pos, 0);
  EXPECT_EQ(this->read(ring, 6), counting(6));
  EXPECT_EQ(ring->read_pos, 0);
}

TYPED_TEST(Ring, AWriteAcrossTheEndGoesOnAtTheStart) {
  const auto ring = this->make_at(16, 10);
  EXPECT_EQ(TypeParam::write(ring.get(), counting(12)), 12);
  EXPECT_EQ(ring->write_pos, 6);
  EXPECT_EQ(this->read(ring, 12), counting(12));
  EXPECT_EQ(ring->read_pos, 6);
}

TYPED_TEST(Ring, CutsAWriteThatDoesNotFitAndKeepsWhatItHolds) {
  const auto ring = this->make(64);
  EXPECT_EQ(TypeParam::write(ring.get(), counting(24)), 24);
  EXPECT_EQ(TypeParam::write(ring.get(), counting(100, 101)), 40);
  Bytes expected = counting(24);
  const Bytes cut = counting(40, 101);
  expected.insert(expected.end(), cut.begin(), cut.end());
  EXPECT_EQ(this->read(ring, 100), expected);
}

TYPED_TEST(Ring, GivesNoMoreThanItHolds) {
  const auto ring = this->make(64);
  TypeParam::write(ring.get(), counting(16));
  EXPECT_EQ(this->read(ring, 24), counting(16));
  EXPECT_EQ(this->read(ring, 24), Bytes());
}

TYPED_TEST(Ring, DropsBytesForANullDestination) {
  const auto ring = this->make(64);
  TypeParam::write(ring.get(), counting(16));
  EXPECT_EQ(TypeParam::drop(ring.get(), 24), 16);
  EXPECT_EQ(TypeParam::used_space(ring.get()), 0);
  EXPECT_EQ(ring->read_pos, 16);
}

TYPED_TEST(Ring, CountsBelowOneDoNothing) {
  const auto ring = this->make(64);
  TypeParam::write(ring.get(), counting(16));
  for (std::int32_t count : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
    std::uint8_t byte = 1;
    if constexpr (std::is_same_v<TypeParam, OnePlane>) {
      EXPECT_EQ(rbuffer_write(ring.get(), &byte, count), 0);
      EXPECT_EQ(rbuffer_read(ring.get(), &byte, count), 0);
    } else {
      EXPECT_EQ(rbuffer2_write(ring.get(), &byte, &byte, count), 0);
      EXPECT_EQ(rbuffer2_read(ring.get(), &byte, &byte, count), 0);
    }
  }
  EXPECT_EQ(this->read(ring, 64), counting(16));
}

TYPED_TEST(Ring, HugeCountsAreCutToo) {
  const auto ring = this->make_at(64, 60);
  EXPECT_EQ(TypeParam::drop(ring.get(), kHuge), 0);
  TypeParam::write(ring.get(), counting(16));
  EXPECT_EQ(TypeParam::drop(ring.get(), kHuge), 16);
}

TYPED_TEST(Ring, ANullSourceWritesNothing) {
  const auto ring = this->make(64);
  EXPECT_EQ(TypeParam::write_null(ring.get(), 16), 0);
  EXPECT_EQ(TypeParam::write_null(this->make(0).get(), 16), 0);
  EXPECT_EQ(TypeParam::used_space(ring.get()), 0);
}

TYPED_TEST(Ring, WithoutStorageGivesAndTakesNothing) {
  const auto ring = this->make(0, 1);
  ASSERT_NE(ring, nullptr);
  EXPECT_EQ(ring->data, nullptr);
  EXPECT_EQ(TypeParam::write(ring.get(), counting(4)), 0);
  EXPECT_EQ(this->read(ring, 4), Bytes());
  TypeParam::flush(ring.get());
  EXPECT_EQ(TypeParam::size(ring.get()), 0);
  EXPECT_EQ(TypeParam::set_size(ring.get(), 8), 0);
  EXPECT_EQ(TypeParam::write(ring.get(), counting(4)), 4);
}

TYPED_TEST(Ring, ASizeBelowZeroIsNoStorage) {
  const auto ring = this->make(-5);
  ASSERT_NE(ring, nullptr);
  EXPECT_EQ(TypeParam::size(ring.get()), 0);
  EXPECT_EQ(TypeParam::free_space(ring.get()), 0);
  EXPECT_EQ(TypeParam::write(ring.get(), counting(4)), 0);
}

TYPED_TEST(Ring, StorageIsZeroedAndPageAligned) {
  const auto ring = this->make(100);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(ring->data) % static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE)), 0u);
  for (int i = 0; i < 100; ++i) ASSERT_EQ(ring->data[i], 0);
}

TYPED_TEST(Ring, ANewSizeStartsEmpty) {
  const auto ring = this->make_at(64, 10);
  TypeParam::write(ring.get(), counting(16));
  EXPECT_EQ(TypeParam::set_size(ring.get(), 32), 0);
  EXPECT_EQ(TypeParam::size(ring.get()), 32);
  EXPECT_EQ(TypeParam::free_space(ring.get()), 32);
  EXPECT_EQ(ring->write_pos, 0);
  EXPECT_EQ(ring->read_pos, 0);
  EXPECT_EQ(TypeParam::set_size(ring.get(), 0), 0);
  EXPECT_EQ(ring->data, nullptr);
  EXPECT_EQ(TypeParam::free_space(ring.get()), 0);
}

TYPED_TEST(Ring, IsWithoutStorageWhenMemoryRunsOut) {
  const auto ring = this->make(64);
  TypeParam::write(ring.get(), counting(16));
  {
    const testing::CallFailer failer("mmap");
    EXPECT_EQ(TypeParam::set_size(ring.get(), 128), -1);
  }
  EXPECT_EQ(ring->data, nullptr);
  EXPECT_EQ(TypeParam::size(ring.get()), 0);
  EXPECT_EQ(TypeParam::free_space(ring.get()), 0);
  EXPECT_EQ(TypeParam::used_space(ring.get()), 0);
  EXPECT_EQ(TypeParam::write(ring.get(), counting(4)), 0);
  EXPECT_EQ(this->read(ring, 4), Bytes());
}

TYPED_TEST(Ring, CreationFailsWithoutALeak) {
  const int failed = testing::fail_each_allocation([&] { return this->make(64, 1) != nullptr; });
  EXPECT_EQ(failed, 2);  // the record and the storage
}

TYPED_TEST(Ring, DestroyAcceptsNull) {
  TypeParam::destroy(nullptr);
}

TYPED_TEST(Ring, WorksUnpinnedWherePinningIsRefused) {
  typename Ring<TypeParam>::Handle ring(nullptr, TypeParam::destroy);
  {
    const testing::CallFailer failer("mlock");
    ring = this->make(64, 1);
  }
  ASSERT_NE(ring, nullptr);
  EXPECT_NE(ring->mlock_status, 0);
  EXPECT_EQ(TypeParam::write(ring.get(), counting(4)), 4);
  const testing::CallFailer failer("munlock");
  EXPECT_EQ(TypeParam::set_size(ring.get(), 0), 0);
  EXPECT_EQ(failer.failures(), 0) << "unpinned what was never pinned";
}

TYPED_TEST(Ring, PinsOnlyOnRequestAndUnpinsWhatItPinned) {
  {
    const testing::CallFailer failer("mlock");
    const auto ring = this->make(64, 0);
    EXPECT_EQ(failer.failures(), 0);
    EXPECT_EQ(TypeParam::set_size(ring.get(), 128), 0);
    EXPECT_EQ(failer.failures(), 0);
  }
  const auto ring = this->make(64, 1);
  if (ring->mlock_status != 0) GTEST_SKIP() << "this system refuses to pin memory";
  const testing::CallFailer failer("munlock");
  TypeParam::set_size(ring.get(), 0);
  EXPECT_EQ(failer.failures(), 1);
}

TYPED_TEST(Ring, AReadDuringAFlushGivesNothing) {
  const auto ring = this->make(64);
  TypeParam::write(ring.get(), counting(16));
  ASSERT_TRUE(ring->read_lock.try_lock());  // as a flush does
  EXPECT_EQ(this->read(ring, 16), Bytes());
  ring->read_lock.unlock();
  EXPECT_EQ(this->read(ring, 16), counting(16));
}

TYPED_TEST(Ring, AFlushDropsWhatIsThereUnderBothNames) {
  for (const auto flush : {TypeParam::flush, TypeParam::flush_w}) {
    const auto ring = this->make_at(16, 10);
    TypeParam::write(ring.get(), counting(12));
    flush(ring.get());
    EXPECT_EQ(TypeParam::used_space(ring.get()), 0);
    EXPECT_EQ(TypeParam::free_space(ring.get()), 16);
    EXPECT_EQ(ring->read_pos, ring->write_pos);
    TypeParam::write(ring.get(), counting(5, 50));
    EXPECT_EQ(this->read(ring, 16), counting(5, 50));
  }
}

TYPED_TEST(Ring, AFlushOfAFullRingLeavesItWhereItWas) {
  const auto ring = this->make_at(16, 10);
  TypeParam::write(ring.get(), counting(16));
  TypeParam::flush(ring.get());
  EXPECT_EQ(ring->read_pos, 10);
  EXPECT_EQ(TypeParam::free_space(ring.get()), 16);
}

// The writer has copied its bytes and moved on, but has not counted them yet: they must be the next to be read.
TYPED_TEST(Ring, AFlushKeepsStepWithAWriterThatHasNotCountedYet) {
  const auto ring = this->make(64);
  TypeParam::write(ring.get(), counting(16));
  TypeParam::write(ring.get(), counting(4, 50));
  ring->free_space += 4;
  TypeParam::flush(ring.get());
  ring->free_space -= 4;
  EXPECT_EQ(this->read(ring, 64), counting(4, 50));
}

TYPED_TEST(Ring, AQuietFlushStartsAtTheBeginning) {
  const auto ring = this->make_at(64, 10);
  TypeParam::write(ring.get(), counting(16));
  TypeParam::flush_sync(ring.get());
  EXPECT_EQ(ring->read_pos, 0);
  EXPECT_EQ(ring->write_pos, 0);
  EXPECT_EQ(TypeParam::free_space(ring.get()), 64);
}

TYPED_TEST(Ring, IsSafeOnARealTimeThread) {
  const auto ring = this->make(64);
  std::uint8_t in[48] = {}, out[48] = {};
  const auto use = [&] {
    for (int i = 0; i < 5; ++i) {
      if constexpr (std::is_same_v<TypeParam, OnePlane>) {
        rbuffer_write(ring.get(), in, 48);
        rbuffer_read(ring.get(), out, 48);
      } else {
        rbuffer2_write(ring.get(), in, in, 48);
        rbuffer2_read(ring.get(), out, out, 48);
      }
    }
    TypeParam::used_space(ring.get());
    TypeParam::free_space(ring.get());
    TypeParam::flush(ring.get());  // waits only while the ring is in use
  };
  {
    const testing::RealtimeGuard guard;
    use();
  }
  if (!testing::run_without_system_calls(use)) GTEST_SKIP() << "system calls cannot be refused in this build";
}

TEST(Ring2, AllocatesOneBlockOfTwoPlanes) {
  struct {
    std::int32_t size, block;
  } cases[] = {{1, 8}, {2, 8}, {4, 8}, {5, 16}, {8, 16}, {9, 24}, {4096, 8192}};
  for (const auto &c : cases) {
    rbuffer2 *ring = rbuffer2_create(c.size, 0);
    EXPECT_EQ(ring->block_size, c.block) << c.size;
    EXPECT_EQ(ring->plane0, ring->data);
    EXPECT_EQ(ring->plane1, ring->data + c.block / 2);
    rbuffer2_destroy(ring);
  }
}

TEST(Ring2, ASizeBeyondA32BitBlockIsMemoryThatRanOut) {
  EXPECT_EQ(rbuffer2_create(kHuge, 0), nullptr);
  rbuffer2 *ring = rbuffer2_create(8, 0);
  EXPECT_EQ(rbuffer2_set_size(ring, 1 << 30), -1);
  EXPECT_EQ(rbuffer2_size(ring), 0);
  rbuffer2_destroy(ring);
}

TEST(Ring2, NeedsBothSources) {
  rbuffer2 *ring = rbuffer2_create(16, 0);
  EXPECT_EQ(rbuffer2_write(ring, "abcd", nullptr, 4), 0);
  EXPECT_EQ(rbuffer2_write(ring, nullptr, "abcd", 4), 0);
  EXPECT_EQ(rbuffer2_used_space(ring), 0);
  EXPECT_EQ(ring->write_pos, 0);
  rbuffer2_destroy(ring);
}

TEST(Ring2, CopiesOnlyThePlaneThatHasADestination) {
  rbuffer2 *ring = rbuffer2_create(16, 0);
  rbuffer2_write(ring, "abcdef", "ABCDEF", 6);
  char plane1[7] = {}, plane0[7] = {};
  EXPECT_EQ(rbuffer2_read(ring, nullptr, plane1, 2), 2);
  EXPECT_STREQ(plane1, "AB");
  EXPECT_EQ(rbuffer2_read(ring, plane0, nullptr, 2), 2);
  EXPECT_STREQ(plane0, "cd");
  EXPECT_EQ(rbuffer2_read(ring, plane0, plane1, 6), 2);
  EXPECT_STREQ(plane0, "ef");
  EXPECT_STREQ(plane1, "EF");
  rbuffer2_destroy(ring);
}

}  // namespace
}  // namespace auspool
