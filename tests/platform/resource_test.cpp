#include "platform/resource.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace auspool::platform {
namespace {

TEST(Resource, IsFoundBesideTheProgramOfTheBuildTree) {
  const auto bytes = read_resource("genres.plist");
  EXPECT_GT(bytes.size(), 5000u);
}

TEST(Resource, ThatIsMissingIsEmpty) {
  EXPECT_TRUE(read_resource("none.plist").empty());
}

TEST(Resource, AReplacedFolderStandsForAll) {
  const testing::TempDir folder;
  testing::write_file(folder.file("a.txt"), "content");
  replace_resource_folder(folder.path().c_str());
  EXPECT_EQ(read_resource("a.txt").size(), 7u);
  EXPECT_TRUE(read_resource("genres.plist").empty());
  replace_resource_folder(nullptr);
  EXPECT_FALSE(read_resource("genres.plist").empty());
}

}  // namespace
}  // namespace auspool::platform
