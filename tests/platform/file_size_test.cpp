#include "platform/file_size.h"

#include <memory>

#include "support/temp_dir.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

TEST(FileSize, IsThatOnTheDisk) {
  const TempDir dir;
  const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(dir.file("file").c_str(), "w"), std::fclose);
  const int descriptor = fileno(file.get());
  EXPECT_EQ(platform::size_of_open_file(descriptor), 0);
  std::fputs("hello", file.get());
  EXPECT_EQ(platform::size_of_open_file(descriptor), 0) << "the stream still holds it";
  std::fflush(file.get());
  EXPECT_EQ(platform::size_of_open_file(descriptor), 5);
}

TEST(FileSize, OfWhatIsNoFileIsNotKnown) {
  EXPECT_EQ(platform::size_of_open_file(-1), -1);
  EXPECT_EQ(platform::size_of_open_file(10000), -1);
}

}  // namespace
