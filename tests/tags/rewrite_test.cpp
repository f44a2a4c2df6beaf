#include "tags/rewrite.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <random>
#include <string>

#include "auspool/autag2.h"
#include "support/temp_dir.h"
#include "support/watch.h"

namespace auspool::tags {
namespace {

TEST(OverwriteWithoutMoving, WastesAtMostTwoPercentOfTheFile) {
  const auto &in_place = _autag2_should_overwrite_without_moving_data;
  EXPECT_TRUE(in_place(1000, 100, 120));
  EXPECT_FALSE(in_place(1000, 100, 121));
  EXPECT_FALSE(in_place(1000, 120, 100)) << "does not fit";
  EXPECT_TRUE(in_place(1000, 120, 120));
  EXPECT_TRUE(in_place(1, 0, 0));
  EXPECT_FALSE(in_place(0, 0, 0)) << "no file at all";
}

TEST(OverwriteWithoutMoving, CountsInSinglePrecision) {
  EXPECT_TRUE(_autag2_should_overwrite_without_moving_data(1'000'000'000, 0, 20'000'001));
  EXPECT_FALSE(_autag2_should_overwrite_without_moving_data(1'000'000'000, 0, 20'000'003));
}

std::string noise(std::size_t size) {
  std::minstd_rand random(7);
  std::string bytes(size, '\0');
  for (char &byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

// Moves within a file of these bytes; the bytes afterwards.
std::string moved(const std::string &bytes, std::uint64_t to, std::uint64_t from, std::int32_t expected = 0) {
  const testing::TempDir folder;
  testing::write_file(folder.file("data"), bytes);
  platform::File file;
  EXPECT_EQ(file.open(folder.file("data").c_str(), platform::File::Access::change), 0);
  EXPECT_EQ(file_data_move(file, to, from), expected);
  return testing::read_file(folder.file("data"));
}

TEST(FileDataMove, MovesTheRestDownAndLeavesTheEnd) {
  EXPECT_EQ(moved("0123456789", 2, 5), "0156789789");
  EXPECT_EQ(moved("0123456789", 0, 9), "9123456789");
}

TEST(FileDataMove, MovesTheRestUpAndGrows) {
  EXPECT_EQ(moved("0123456789", 7, 4), "0123456456789");
}

TEST(FileDataMove, TouchesNothingWhenThereIsNothingToMove) {
  EXPECT_EQ(moved("0123456789", 4, 4), "0123456789");
  EXPECT_EQ(moved("0123456789", 2, 10), "0123456789") << "from the end";
  EXPECT_EQ(moved("0123456789", 20, 10), "0123456789") << "no growth either";
  EXPECT_EQ(moved("0123456789", 2, 11), "0123456789");
  EXPECT_EQ(moved("", 5, 0), "");
}

TEST(FileDataMove, MovesMoreThanItsBufferHolds) {
  const std::string bytes = noise(3 * 1048576 + 17);
  for (const std::size_t by : {1u, 1000u, 1048576u, 2000000u}) {
    const std::string up = moved(bytes, 100 + by, 100);
    ASSERT_EQ(up.size(), bytes.size() + by);
    EXPECT_TRUE(up.substr(100 + by) == bytes.substr(100)) << by;
    EXPECT_TRUE(up.substr(0, 100) == bytes.substr(0, 100)) << by;
    const std::string down = moved(bytes, 100, 100 + by);
    ASSERT_EQ(down.size(), bytes.size());
    EXPECT_TRUE(down.substr(100, bytes.size() - 100 - by) == bytes.substr(100 + by)) << by;
    EXPECT_TRUE(down.substr(bytes.size() - by) == bytes.substr(bytes.size() - by)) << by;
  }
}

TEST(FileDataMove, EachFailedCallIsReported) {
  const std::string bytes = noise(2 * 1048576);
  for (const char *call : {"pread", "pwrite", "ftruncate"}) {
    for (const int nth : {1, 2}) {
      const testing::CallFailer failer(call, nth, ENOSPC);
      const bool reached = std::string(call) != "ftruncate" || nth == 1;
      const std::string after = moved(bytes, 10, 5, reached ? ENOSPC : 0);
      EXPECT_TRUE(after.substr(0, 5) == bytes.substr(0, 5));
    }
  }
}

TEST(FileDataMove, NoMemoryForItsBufferLeavesTheFile) {
  const testing::TempDir folder;
  testing::write_file(folder.file("data"), "0123456789");
  platform::File file;
  ASSERT_EQ(file.open(folder.file("data").c_str(), platform::File::Access::change), 0);
  {
    const testing::AllocationFailer failer(1);
    EXPECT_EQ(file_data_move(file, 2, 5), AUTAG2_EUNK);
  }
  EXPECT_EQ(testing::read_file(folder.file("data")), "0123456789");
}

}  // namespace
}  // namespace auspool::tags
