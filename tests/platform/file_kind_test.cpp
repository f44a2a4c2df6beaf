#include "platform/file_kind.h"

#include <sys/xattr.h>

#include "base/four_cc.h"
#include "support/temp_dir.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

constexpr const char *kInfo = "user.com.apple.FinderInfo";

struct FileKind : ::testing::Test {
  void SetUp() override {
    write_file(file, "content");
    if (setxattr(file.c_str(), "user.auspool.test", "", 0, 0) != 0) {
      GTEST_SKIP() << "this file system has no extended attributes";
    }
  }
  std::string info() const {
    char bytes[64];
    const ssize_t size = getxattr(file.c_str(), kInfo, bytes, sizeof bytes);
    return size < 0 ? "none" : std::string(bytes, static_cast<std::size_t>(size));
  }

  TempDir dir;
  const std::string file = dir.file("file");
};

TEST_F(FileKind, StoresTypeAndCreatorInTheFirstEightOf32Bytes) {
  platform::set_file_kind(file.c_str(), four_cc("AIFF"), four_cc("tnch"));
  EXPECT_EQ(info(), "AIFFtnch" + std::string(24, '\0'));
  EXPECT_EQ(read_file(file), "content");
}

TEST_F(FileKind, ACodeOf0LeavesWhatIsThere) {
  const std::string before = "aaaabbbbccccddddeeeeffffgggghhhh";
  setxattr(file.c_str(), kInfo, before.data(), before.size(), 0);
  platform::set_file_kind(file.c_str(), four_cc("WAVE"), 0);
  EXPECT_EQ(info(), "WAVE" + before.substr(4));
  platform::set_file_kind(file.c_str(), 0, four_cc("tnch"));
  EXPECT_EQ(info(), "WAVEtnch" + before.substr(8));
}

TEST_F(FileKind, WithoutAnyCodeNothingIsStored) {
  platform::set_file_kind(file.c_str(), 0, 0);
  EXPECT_EQ(info(), "none");
}

TEST(FileKindFailure, IsIgnored) {
  platform::set_file_kind("/nowhere/at/all", four_cc("AIFF"), 0);
  platform::set_file_kind("/proc/self/status", four_cc("AIFF"), 0);
}

}  // namespace
