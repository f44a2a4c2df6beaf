#include "platform/locked_memory.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "support/watch.h"

namespace auspool::platform {
namespace {

using Byte = std::uint8_t;

std::size_t page_bytes() {
  return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

TEST(LockedMemory, IsZeroedAndPageAligned) {
  const std::size_t bytes = 3 * page_bytes() + 5;
  auto *pages = static_cast<Byte *>(allocate_pages(bytes));
  ASSERT_NE(pages, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pages) % page_bytes(), 0u);
  EXPECT_TRUE(std::all_of(pages, pages + bytes, [](Byte b) { return b == 0; }));
  release_pages(pages, bytes);
}

TEST(LockedMemory, IsThereBeforeItIsFirstTouched) {
  const std::size_t bytes = 4 * page_bytes();
  void *pages = allocate_pages(bytes);
  std::vector<unsigned char> resident(4);
  ASSERT_EQ(mincore(pages, bytes, resident.data()), 0);
  for (unsigned char page : resident) EXPECT_EQ(page & 1, 1);
  release_pages(pages, bytes);
}

TEST(LockedMemory, NoBytesAreNoMemory) {
  EXPECT_EQ(allocate_pages(0), nullptr);
  release_pages(nullptr, 0);
}

TEST(LockedMemory, MoreThanThereIsGivesNull) {
  EXPECT_EQ(allocate_pages(std::size_t{1} << 60), nullptr);
  const testing::CallFailer failer("mmap");
  EXPECT_EQ(allocate_pages(1), nullptr);
}

TEST(LockedMemory, ReleaseGivesEverythingBack) {
  const long before = testing::live_allocations();
  release_pages(allocate_pages(100), 100);
  EXPECT_EQ(testing::live_allocations(), before);
}

TEST(LockedMemory, OfLargePagesHoldsWhatItHeld) {
  const std::size_t bytes = 4 << 20;
  auto *pages = static_cast<Byte *>(allocate_pages(bytes));
  for (std::size_t i = 0; i < bytes; i += page_bytes()) pages[i] = static_cast<Byte>(i / page_bytes() * 7);
  prefer_large_pages(pages, bytes);
  for (std::size_t i = 0; i < bytes; i += page_bytes()) ASSERT_EQ(pages[i], static_cast<Byte>(i / page_bytes() * 7));
  release_pages(pages, bytes);
}

TEST(LockedMemory, SaysWhetherItIsPinned) {
  void *pages = allocate_pages(page_bytes());
  if (pin_pages(pages, page_bytes()) == 0) unpin_pages(pages, page_bytes());
  {
    const testing::CallFailer failer("mlock");
    EXPECT_EQ(pin_pages(pages, page_bytes()), -1);
  }
  release_pages(pages, page_bytes());
}

}  // namespace
}  // namespace auspool::platform
