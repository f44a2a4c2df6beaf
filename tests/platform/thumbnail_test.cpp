#include "platform/thumbnail.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/image.h"
#include "support/other_programs.h"
#include "support/temp_dir.h"

using namespace auspool::testing;
namespace platform = auspool::platform;

namespace {

class Thumbnail : public ::testing::Test {
protected:
  void SetUp() override { NEED_PROGRAM("ffmpeg"); }

  // A film of one colour and that size.
  std::string film(const std::string &size, const std::string &colour = "red") const {
    const std::string path = folder_.file(size + ".mp4");
    output_of("ffmpeg -v error -y -f lavfi -i color=" + colour + ":size=" + size +
              ":rate=5:duration=1 -pix_fmt yuv420p -c:v mpeg4 " + quoted(path));
    return path;
  }

  std::string folder() const { return folder_.path(); }

private:
  TempDir folder_;
};

TEST_F(Thumbnail, IsThePictureAtMostSoLarge) {
  const auto jpeg = platform::video_thumbnail(film("640x360").c_str(), 320);
  if (!jpeg) GTEST_SKIP() << "this build has no libavformat";
  const auto picture = platform::decode_image(*jpeg);
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 320u);
  EXPECT_EQ(picture->height, 180u);
  const std::size_t middle = 3 * (90 * 320 + 160);
  EXPECT_GT(picture->rgb[middle], 200);
  EXPECT_LT(picture->rgb[middle + 1], 60);
}

TEST_F(Thumbnail, OfASmallFilmIsNotEnlarged) {
  const auto jpeg = platform::video_thumbnail(film("62x94").c_str(), 320);
  if (!jpeg) GTEST_SKIP() << "this build has no libavformat";
  const auto info = platform::image_info(*jpeg);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->width, 62u);
  EXPECT_EQ(info->height, 94u);
}

TEST_F(Thumbnail, OfAFilmWhoseNameLooksLikeAnAddressIsItsPicture) {
  const std::string path = film("62x94");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder());
  for (const char *name : {"S01:E02.mp4", "http:film.mp4", "pipe:0"}) {
    std::filesystem::copy_file(path, name);
    EXPECT_EQ(platform::video_thumbnail(name, 320), platform::video_thumbnail(path.c_str(), 320)) << name;
  }
  std::filesystem::current_path(before);
}

TEST_F(Thumbnail, IsMissingWhereThereIsNoPicture) {
  const TempDir folder;
  write_file(folder.file("noise.mp4"), std::string(1000, 'x'));
  EXPECT_FALSE(platform::video_thumbnail(folder.file("noise.mp4").c_str(), 320));
  EXPECT_FALSE(platform::video_thumbnail(folder.file("missing.mp4").c_str(), 320));
}

}  // namespace
