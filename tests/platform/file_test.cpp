#include "platform/file.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <string>

#include "support/temp_dir.h"
#include "support/watch.h"

namespace auspool::platform {
namespace {

std::span<const std::uint8_t> bytes_of(const std::string &text) {
  return {reinterpret_cast<const std::uint8_t *>(text.data()), text.size()};
}

class FileTest : public ::testing::Test {
protected:
  void make(const std::string &bytes, File::Access access = File::Access::read) {
    testing::write_file(path, bytes);
    ASSERT_EQ(file.open(path.c_str(), access), 0);
  }
  // What a read gives: its bytes, or the error.
  std::string read(std::uint64_t offset, std::size_t length) {
    std::string to(length, '\0');
    const std::int32_t error = file.read(offset, {reinterpret_cast<std::uint8_t *>(to.data()), length});
    return error == 0 ? to : "error " + std::to_string(error);
  }

  testing::TempDir folder;
  std::string path = folder.file("data");
  File file;
};

const std::string past_the_end = "error " + std::to_string(EIO);

TEST_F(FileTest, OpeningReportsErrno) {
  EXPECT_EQ(file.open(folder.file("none").c_str(), File::Access::read), ENOENT);
  EXPECT_EQ(file.open(folder.path().c_str(), File::Access::change), EISDIR);
  EXPECT_EQ(file.open(nullptr, File::Access::read), EINVAL);
}

TEST_F(FileTest, ReadsAtOffsets) {
  make("0123456789");
  EXPECT_EQ(file.size(), 10u);
  EXPECT_EQ(read(3, 4), "3456");
  EXPECT_EQ(read(0, 10), "0123456789");
  EXPECT_EQ(read(10, 0), "");
}

TEST_F(FileTest, AReadPastTheEndIsAnError) {
  make("0123456789");
  EXPECT_EQ(read(8, 3), past_the_end);
  EXPECT_EQ(read(10, 1), past_the_end);
  EXPECT_EQ(read(~0ull, 1), past_the_end);
  std::array<std::uint8_t, 8> to{};
  std::size_t count = 9;
  EXPECT_EQ(file.read_some(7, to, count), 0);
  EXPECT_EQ(count, 3u);
  EXPECT_EQ(file.read_some(10, to, count), 0);
  EXPECT_EQ(count, 0u);
}

TEST_F(FileTest, ALengthThatTheFileHasNotIsNeverAllocated) {
  make("0123456789");
  const long before = testing::allocation_count();
  std::vector<std::uint8_t> to;
  EXPECT_EQ(file.read(2, 1ull << 60, to), EIO);
  EXPECT_EQ(file.read(11, 0, to), EIO);
  EXPECT_EQ(file.read(~0ull, ~0ull, to), EIO);
  EXPECT_EQ(testing::allocation_count(), before);
  EXPECT_EQ(file.read(2, 8, to), 0);
  EXPECT_EQ(to.size(), 8u);
}

TEST_F(FileTest, SmallReadsShareOneSystemCall) {
  make(std::string(3000, 'x'));
  testing::CallFailer second("pread", 2);
  for (std::uint64_t at = 0; at + 8 <= 3000; at += 8) ASSERT_EQ(read(at, 8), "xxxxxxxx");
  EXPECT_EQ(second.failures(), 0);
}

TEST_F(FileTest, BothEndsOfAFileCostTwoSystemCalls) {
  make("head" + std::string(100000, 'x') + "tail");
  testing::CallFailer third("pread", 3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(read(0, 4), "head");
    EXPECT_EQ(read(100004, 4), "tail");
    EXPECT_EQ(read(100008 - 4096, 2), "xx") << "a window at the end looks back";
  }
  EXPECT_EQ(third.failures(), 0);
}

TEST_F(FileTest, AFileThatShrinksMeanwhileEndsEarlier) {
  make(std::string(10000, 'x'));
  std::filesystem::resize_file(path, 5000);
  EXPECT_EQ(read(4998, 4), past_the_end);
  EXPECT_EQ(read(9000, 4), past_the_end);
  EXPECT_EQ(read(4996, 4), "xxxx");
}

TEST_F(FileTest, ReadsSeeWhatWasWritten) {
  make("0123456789", File::Access::change);
  EXPECT_EQ(read(0, 4), "0123");
  EXPECT_EQ(file.write(2, bytes_of("ab")), 0);
  EXPECT_EQ(read(0, 4), "01ab");
  EXPECT_EQ(file.write(12, bytes_of("cd")), 0);
  EXPECT_EQ(file.size(), 14u);
  EXPECT_EQ(read(8, 6), std::string("89\0\0cd", 6));
  EXPECT_EQ(file.resize(3), 0);
  EXPECT_EQ(read(0, 4), past_the_end);
  EXPECT_EQ(testing::read_file(path), "01a");
}

TEST_F(FileTest, FailuresAreReportedAndInterruptionsAreNot) {
  make("0123456789", File::Access::change);
  {
    const testing::CallFailer failer("pread", 1, ENXIO);
    EXPECT_EQ(read(0, 4), "error " + std::to_string(ENXIO));
  }
  {
    const testing::CallFailer failer("pwrite", 1, ENOSPC);
    EXPECT_EQ(file.write(0, bytes_of("x")), ENOSPC);
  }
  {
    const testing::CallFailer failer("ftruncate", 1, EFBIG);
    EXPECT_EQ(file.resize(4), EFBIG);
  }
  for (const char *call : {"pread", "pwrite", "ftruncate"}) {
    const testing::CallFailer failer(call, 1, EINTR);
    EXPECT_EQ(file.write(0, bytes_of("x")), 0);
    EXPECT_EQ(file.resize(10), 0);
    EXPECT_EQ(read(0, 2), "x1") << call;
    EXPECT_EQ(failer.failures(), 1);
  }
  EXPECT_EQ(file.write(~0ull, bytes_of("x")), EFBIG);
  EXPECT_EQ(file.resize(~0ull), EFBIG);
}

}  // namespace
}  // namespace auspool::platform
