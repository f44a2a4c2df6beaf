#include "platform/temporary_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/temp_dir.h"

namespace auspool::platform {
namespace {

// A descriptor that is closed at the end of the scope.
class Open {
public:
  explicit Open(int descriptor) : descriptor_(descriptor) {}
  ~Open() { close(descriptor_); }
  Open(const Open &) = delete;
  Open &operator=(const Open &) = delete;
  int get() const { return descriptor_; }
  std::string path() const { return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor_)); }

private:
  const int descriptor_;
};

void expect_private_and_nameless(int descriptor, const std::filesystem::path &folder) {
  ASSERT_GE(descriptor, 0);
  struct stat status {};
  ASSERT_EQ(fstat(descriptor, &status), 0);
  EXPECT_EQ(status.st_nlink, 0u);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  EXPECT_EQ(status.st_size, 0);
  EXPECT_TRUE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
  EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST(TemporaryFile, HasNoName) {
  const testing::TempDir folder;
  const Open file(open_unnamed_file(folder.path().c_str()));
  if (file.get() < 0) GTEST_SKIP() << "the file system of " << folder.path() << " has no files without a name";
  expect_private_and_nameless(file.get(), folder.path());
}

TEST(TemporaryFile, LosesItsNameWhereTheFileSystemWantsOne) {
  const testing::TempDir folder;
  const Open file(open_removed_file(folder.path().c_str()));
  expect_private_and_nameless(file.get(), folder.path());
}

TEST(TemporaryFile, CannotBeWhereThereIsNoFolder) {
  const testing::TempDir folder;
  EXPECT_EQ(open_unnamed_file(folder.file("no").c_str()), -1);
  EXPECT_EQ(open_removed_file(folder.file("no").c_str()), -1);
  EXPECT_EQ(open_removed_file(std::string(5000, 'x').c_str()), -1);
}

// The environment's TMPDIR, restored at the end of the scope.
class TemporaryFolder {
public:
  explicit TemporaryFolder(const std::string &path) { setenv("TMPDIR", path.c_str(), 1); }
  ~TemporaryFolder() { was_.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", was_.c_str(), 1); }

private:
  const std::string was_ = std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "";
};

TEST(TemporaryFile, LiesWhereTheEnvironmentSays) {
  const testing::TempDir folder;
  const TemporaryFolder temporary(folder.path());
  const Open file(open_temporary_file());
  EXPECT_EQ(file.path().rfind(folder.path(), 0), 0u) << file.path();
}

TEST(TemporaryFile, LiesOnDiskRatherThanInMemoryOtherwise) {
  const TemporaryFolder temporary("/no/such/folder");
  const Open file(open_temporary_file());
  EXPECT_EQ(file.path().rfind("/var/tmp", 0), 0u) << file.path();
}

}  // namespace
}  // namespace auspool::platform
