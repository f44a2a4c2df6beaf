#include "platform/uncached_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "platform/locked_memory.h"
#include "support/temporary_files.h"
#include "support/watch.h"

namespace auspool::platform {
namespace {

using Pieces = UncachedFile::Pieces;

// Page-aligned bytes.
class Pages {
public:
  explicit Pages(std::size_t bytes) : bytes_(bytes), pages_(static_cast<std::uint8_t *>(allocate_pages(bytes))) {}
  ~Pages() { release_pages(pages_, bytes_); }
  Pages(const Pages &) = delete;
  Pages &operator=(const Pages &) = delete;
  std::uint8_t *data() const { return pages_; }
  void fill(std::uint8_t byte) { std::fill_n(pages_, bytes_, byte); }
  bool holds(std::uint8_t byte) const {
    return std::all_of(pages_, pages_ + bytes_, [byte](std::uint8_t it) { return it == byte; });
  }

private:
  const std::size_t bytes_;
  std::uint8_t *const pages_;
};

class UncachedFiles : public ::testing::TestWithParam<Pieces> {
protected:
  std::unique_ptr<UncachedFile> file = create_uncached_file(GetParam());
};
INSTANTIATE_TEST_SUITE_P(All, UncachedFiles, ::testing::Values(Pieces::any, Pieces::pages),
                         [](const auto &of) { return of.param == Pieces::any ? "AnyBytes" : "WholePages"; });

constexpr int kBlock = 131072;

TEST_P(UncachedFiles, GivesBackWhatWasWritten) {
  Pages block(kBlock);
  for (std::uint8_t i = 0; i < 40; ++i) {
    block.fill(i);
    ASSERT_EQ(file->write(i * kBlock, block.data(), kBlock), kBlock);
  }
  for (std::uint8_t i = 40; i-- > 0;) {
    ASSERT_EQ(file->read(i * kBlock, block.data(), kBlock), kBlock);
    EXPECT_TRUE(block.holds(i));
  }
}

TEST_P(UncachedFiles, ReadsNoFurtherThanItsEnd) {
  Pages two(2 * kBlock);
  ASSERT_EQ(file->write(0, two.data(), kBlock), kBlock);
  EXPECT_EQ(file->read(0, two.data(), 2 * kBlock), kBlock);
  EXPECT_EQ(file->read(kBlock, two.data(), kBlock), 0);
}

TEST_P(UncachedFiles, HolesReadAsZeros) {
  Pages block(kBlock);
  block.fill(7);
  for (std::uint64_t i = 0; i < 3; ++i) file->write(i * kBlock, block.data(), kBlock);
  ASSERT_TRUE(file->punch_hole(kBlock, kBlock));
  file->read(kBlock, block.data(), kBlock);
  EXPECT_TRUE(block.holds(0));
  EXPECT_EQ(file->read(2 * kBlock, block.data(), kBlock), kBlock) << "the size stays";
  EXPECT_TRUE(block.holds(7));
}

TEST_P(UncachedFiles, TellsWhatFailed) {
  Pages block(kBlock);
  {
    const testing::CallFailer failer("pwrite", 0, ENOSPC);
    EXPECT_EQ(file->write(0, block.data(), kBlock), -1);
    EXPECT_EQ(errno, ENOSPC);
  }
  const testing::CallFailer failer("pread", 0, EIO);
  EXPECT_EQ(file->read(0, block.data(), kBlock), -1);
  EXPECT_EQ(errno, EIO);
}

TEST_P(UncachedFiles, AreNotCutShortByASignal) {
  Pages block(kBlock);
  const testing::CallFailer failer("pwrite", 1, EINTR);
  EXPECT_EQ(file->write(0, block.data(), kBlock), kBlock);
  EXPECT_EQ(failer.failures(), 1);
}

TEST_P(UncachedFiles, CreationFailsWithoutMemory) {
  testing::fail_each_allocation([] { return create_uncached_file(GetParam()) != nullptr; });
}

TEST(UncachedFile, WorksWhereDirectAccessIsRefused) {
  const auto file = create_uncached_file(Pieces::pages);
  Pages block(kBlock);
  const testing::CallFailer failer("pwrite", 1, EINVAL);
  EXPECT_EQ(file->write(0, block.data(), kBlock), kBlock);
  EXPECT_EQ(file->read(0, block.data(), kBlock), kBlock);
  std::uint8_t some[100];
  EXPECT_EQ(file->read(5, some, 100), 100) << "through the cache from then on, of any bytes";
}

TEST(UncachedFile, WorksInMemoryTooWhereThereIsNoDirectAccess) {
  if (!std::filesystem::exists("/dev/shm")) GTEST_SKIP() << "no /dev/shm";
  setenv("TMPDIR", "/dev/shm", 1);
  const auto file = create_uncached_file(Pieces::pages);
  unsetenv("TMPDIR");
  Pages block(kBlock);
  block.fill(9);
  EXPECT_EQ(file->write(kBlock, block.data(), kBlock), kBlock);
  block.fill(0);
  EXPECT_EQ(file->read(kBlock, block.data(), kBlock), kBlock);
  EXPECT_TRUE(block.holds(9));
}

TEST(UncachedFile, TakesAnyBytesAtAnyPlace) {
  const auto file = create_uncached_file(Pieces::any);
  std::mt19937 random(1);
  std::vector<std::uint8_t> all(3 << 20), part;
  file->write(0, all.data(), all.size());
  for (int i = 0; i < 300; ++i) {
    const std::size_t at = random() % all.size(), count = random() % std::min<std::size_t>(all.size() - at, 70000);
    std::generate_n(all.begin() + static_cast<std::ptrdiff_t>(at), count, [&] { return std::uint8_t(random()); });
    ASSERT_EQ(file->write(at, all.data() + at, count), std::int64_t(count));
    const std::size_t from = random() % all.size(), most = random() % std::min<std::size_t>(all.size() - from, 70000);
    part.resize(most);
    ASSERT_EQ(file->read(from, part.data(), most), std::int64_t(most));
    ASSERT_TRUE(std::equal(part.begin(), part.end(), all.begin() + static_cast<std::ptrdiff_t>(from)));
  }
}

TEST_P(UncachedFiles, LeaveThePageCacheAlone) {
  Pages block(kBlock);
  constexpr std::size_t kBlocks = 512;
  for (std::size_t i = 0; i < kBlocks; ++i) ASSERT_EQ(file->write(i * kBlock, block.data(), kBlock), kBlock);
  for (std::size_t i = 0; i < kBlocks; i += 2) ASSERT_EQ(file->read(i * kBlock, block.data(), kBlock), kBlock);
  const testing::NamelessFile found = testing::look_at_nameless_file();
  if (found.in_memory) GTEST_SKIP() << "temporary files lie in memory here";
  EXPECT_EQ(found.bytes, kBlocks * kBlock);
  EXPECT_LE(found.cached_bytes, GetParam() == Pieces::any ? 2u << 20 : 0u) << "but for what is on its way to the disk";
}

}  // namespace
}  // namespace auspool::platform
